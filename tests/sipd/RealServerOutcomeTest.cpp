// Every outcome of connecting, by a real server's answers.
#include "RealServerTest.h"

#include <tuple>

namespace {

struct Outcome
{
    const char* title;
    const char* user;
    const char* password;
    _SIPD_APP_ACK_E ack;
};

constexpr Outcome OUTCOMES[] = {
    {"ARightPasswordConnects", "anna", "secret", SIPD_ACK_SUCCESS},
    {"ARightPasswordForAProxyConnects", "proxied", "secret", SIPD_ACK_SUCCESS},
    {"AWrongPasswordIsAnIncorrectProfile", "anna", "guess", SIPD_ACK_INCORRECT_PROFILE},
    {"AWrongPasswordForAProxyIsAnIncorrectProfile", "proxied", "guess", SIPD_ACK_INCORRECT_PROFILE},
    {"AnEmptyPasswordIsAnIncorrectProfile", "anna", "", SIPD_ACK_INCORRECT_PROFILE},
    {"AnUnknownUserIsAnIncorrectProfile", "unknown", "secret", SIPD_ACK_INCORRECT_PROFILE},
    {"ABannedUserIsAnIncorrectProfile", "banned", "secret", SIPD_ACK_INCORRECT_PROFILE},
    {"ABusyServerIsAnUnavailableService", "busy", "secret", SIPD_ACK_SERVICE_UNAVAILABLE},
    {"AServersErrorIsAFailure", "broken", "secret", SIPD_ACK_FAILED},
};

class RealServerOutcome : public RealServerTest,
                          public testing::WithParamInterface<std::tuple<const char*, Outcome>>
{
};

std::string titleOf(const testing::TestParamInfo<RealServerOutcome::ParamType>& info)
{
    const auto& [transport, outcome] = info.param;
    return std::string(outcome.title) + (std::string(transport) == "udp" ? "OverUdp" : "OverTcp");
}

QString serverOver(const char* transport)
{
    return QStringLiteral("127.0.0.1;transport=") + transport;
}

// One each of the profiles.
std::vector<std::unique_ptr<DaemonClient>> connectAll(const std::vector<std::string>& groups)
{
    std::vector<std::unique_ptr<DaemonClient>> clients;
    for (const std::string& group : groups) {
        clients.push_back(std::make_unique<DaemonClient>());
        clients.back()->connect(group);
    }
    return clients;
}

} // namespace

TEST_P(RealServerOutcome, IsAcknowledged)
{
    const auto& [transport, outcome] = GetParam();
    Kamailio server(workplace());
    server.start();
    sipd.start();
    SIP_PROFILE_CONTENT profile = record(serverOver(transport), server.port(), outcome.user);
    profile.password = outcome.password;
    store("the profile", profile);

    EXPECT_EQ(connectAndWait("Profile0"), outcome.ack);

    const auto binding = server.registered(outcome.user);
    const bool isConnected = outcome.ack == SIPD_ACK_SUCCESS;
    EXPECT_EQ(statusOf("Profile0") == SIPD_PROFILE_CONNECTED, isConnected);
    ASSERT_EQ(binding.has_value(), isConnected);
    if (isConnected) {
        EXPECT_EQ(binding->transport, transport);
        EXPECT_EQ(binding->contact.find(";transport=tcp") != std::string::npos,
                  std::string(transport) == "tcp")
            << binding->contact;
    }
    EXPECT_EQ(disconnectAndWait("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_FALSE(server.registered(outcome.user));
    EXPECT_EQ(statusOf("Profile0"), 0U);
}

INSTANTIATE_TEST_SUITE_P(Real, RealServerOutcome,
                         testing::Combine(testing::Values("udp", "tcp"), testing::ValuesIn(OUTCOMES)),
                         titleOf);

TEST_F(RealServerTest, AClosedPortAndANameThatNobodyHasAreNotReached)
{
    sipd.start();
    const int closed = freePort();
    store("udp", record(serverOver("udp"), closed, "anna"));
    store("tcp", record(serverOver("tcp"), closed, "anna"));
    store("nobody", record("nobody.invalid", 5061, "anna"));
    for (const char* group : {"Profile0", "Profile1", "Profile2"})
        EXPECT_EQ(connectAndWait(group), SIPD_ACK_CONNECT_FAILED) << group;
}

TEST_F(RealServerTest, ASilentServerIsGivenUpInTimeAndNobodyElseWaitsForIt)
{
    Kamailio server(workplace());
    server.start();
    sipd.start();
    store("udp", record(serverOver("udp"), server.port(), "silent"));
    store("tcp", record(serverOver("tcp"), server.port(), "silent"));
    store("other", record(serverOver("udp"), server.port(), "anna"));

    const auto begin = std::chrono::steady_clock::now();
    const auto silent = connectAll({"Profile0", "Profile1"});
    EXPECT_EQ(statusOf("Profile0"), 1U);
    EXPECT_EQ(connectAndWait("Profile2"), SIPD_ACK_SUCCESS);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4));
    for (const auto& client : silent)
        EXPECT_EQ(client->ack(), SIPD_ACK_CONNECT_FAILED);
    EXPECT_GT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(7));
    EXPECT_EQ(statusOf("Profile0"), 0U);
    EXPECT_EQ(statusOf("Profile2"), SIPD_PROFILE_CONNECTED);
}

TEST_F(RealServerTest, AProfileThatMakesNoSenseIsIncorrect)
{
    sipd.start();
    store("empty", record("", 5060, "anna"));
    store("malformed", record("127.0.0.1 or so", 5060, "anna"));
    store("no port", record("127.0.0.1", 0, "anna"));
    store("a port too far", record("127.0.0.1", 65536, "anna"));
    for (const char* group : {"Profile0", "Profile1", "Profile2", "Profile3", "Profile4"})
        EXPECT_EQ(connectAndWait(group), SIPD_ACK_INCORRECT_PROFILE) << group;
}

TEST_F(RealServerTest, AServerMayBeTypedInManyWays)
{
    Kamailio server(workplace());
    server.start();
    sipd.start();
    QStringList typed = {"127.0.0.1",
                         "localhost",
                         "sip:127.0.0.1",
                         "127.0.0.1  ",
                         "127.0.0.1;transport=UDP",
                         "sip:localhost;transport=tcp"};
    if (Kamailio::hasIpv6())
        typed += QStringList{"::1", "[::1]", "sip:[::1];transport=tcp"};
    for (const QString& address : typed) {
        store("the profile", record(address, server.port(), "anna"));
        EXPECT_EQ(connectAndWait("Profile0"), SIPD_ACK_SUCCESS) << qPrintable(address);
        EXPECT_TRUE(server.registered("anna")) << qPrintable(address);
        EXPECT_EQ(disconnectAndWait("Profile0"), SIPD_ACK_SUCCESS) << qPrintable(address);
        EXPECT_FALSE(server.registered("anna")) << qPrintable(address);
    }
}

TEST_F(RealServerTest, UserNamesAndPasswordsMayHoldAnyCharacter)
{
    const char password[] = "p:a\"s\\s %@,;=<>&#ö";
    Kamailio server(workplace(), {.password = password});
    server.start();
    sipd.start();
    // This server takes names of ASCII alone.
    for (const char* user : {"anna", "o'neil@home", "room 7", "+49 (30) 1234", "100%"}) {
        SIP_PROFILE_CONTENT profile = record("127.0.0.1", server.port(), QString::fromUtf8(user));
        profile.password = QString::fromUtf8(password);
        store("the profile", profile);
        EXPECT_EQ(connectAndWait("Profile0"), SIPD_ACK_SUCCESS) << user;
    }
    EXPECT_EQ(sipd.log().find("p:a"), std::string::npos);
}

TEST_F(RealServerTest, TenProfilesConnectAtOnce)
{
    Kamailio server(workplace());
    server.start();
    sipd.start();
    std::vector<std::string> groups;
    for (int i = 0; i < 10; ++i) {
        store(QString::number(i),
              record(serverOver(i % 2 == 0 ? "udp" : "tcp"), server.port(), "user" + QString::number(i)));
        groups.push_back("Profile" + std::to_string(i));
    }
    for (const auto& client : connectAll(groups))
        EXPECT_EQ(client->ack(), SIPD_ACK_SUCCESS);
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(server.registered("user" + std::to_string(i))) << i;
    EXPECT_EQ(disconnectAndWait("Profile4"), SIPD_ACK_SUCCESS);
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(server.registered("user" + std::to_string(i)).has_value(), i != 4) << i;
}
