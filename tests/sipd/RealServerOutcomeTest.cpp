// Every outcome of connecting, by a real server's answers.
#include "RealServerTest.h"

#include <ostream>
#include <tuple>

namespace {

struct Outcome
{
    std::string title;
    std::string user;
    std::string password;
    _SIPD_APP_ACK_E ack;

    friend void PrintTo(const Outcome& outcome, std::ostream* out) { *out << outcome.title; }
};

const Outcome OUTCOMES[] = {
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
                          public testing::WithParamInterface<std::tuple<std::string, Outcome>>
{
};

std::string titleOf(const testing::TestParamInfo<RealServerOutcome::ParamType>& info)
{
    const auto& [transport, outcome] = info.param;
    return outcome.title + (transport == "udp" ? "OverUdp" : "OverTcp");
}

std::string serverOver(const std::string& transport)
{
    return "127.0.0.1;transport=" + transport;
}

// A client for each profile.
std::vector<SipdClient> connectAll(const std::vector<std::string>& groups)
{
    std::vector<SipdClient> clients(groups.size());
    for (size_t i = 0; i < groups.size(); ++i) {
        EXPECT_EQ(clients[i].introduce(), SIPD_ACK_SUCCESS);
        EXPECT_TRUE(clients[i].send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, groups[i])));
    }
    return clients;
}

} // namespace

TEST_P(RealServerOutcome, IsAcknowledged)
{
    const auto& [transport, outcome] = GetParam();
    Kamailio server(workplace());
    server.start();
    startDaemon();
    TestProfile profile = profileOf(outcome.user, serverOver(transport), server.port());
    profile.password = outcome.password;
    writeProfile("Profile0", profile);

    EXPECT_EQ(connectProfile("Profile0"), outcome.ack);

    const auto binding = server.registered(outcome.user);
    const bool isConnected = outcome.ack == SIPD_ACK_SUCCESS;
    EXPECT_EQ(statusOf("Profile0") == SIPD_PROFILE_CONNECTED, isConnected);
    ASSERT_EQ(binding.has_value(), isConnected);
    if (isConnected) {
        EXPECT_EQ(binding->transport, transport);
        EXPECT_EQ(binding->contact.find(";transport=tcp") != std::string::npos, transport == "tcp")
            << binding->contact;
    }
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_FALSE(server.registered(outcome.user));
    EXPECT_EQ(statusOf("Profile0"), 0U);
}

INSTANTIATE_TEST_SUITE_P(Real, RealServerOutcome,
                         testing::Combine(testing::Values<std::string>("udp", "tcp"),
                                          testing::ValuesIn(OUTCOMES)),
                         titleOf);

TEST_F(RealServerTest, AClosedPortAndANameThatNobodyHasAreNotReached)
{
    startDaemon();
    const int closed = freePort();
    writeProfile("Profile0", profileOf("anna", serverOver("udp"), closed));
    writeProfile("Profile1", profileOf("anna", serverOver("tcp"), closed));
    writeProfile("Profile2", profileOf("anna", "nobody.invalid", 5061));
    for (const char* group : {"Profile0", "Profile1", "Profile2"})
        EXPECT_EQ(connectProfile(group), SIPD_ACK_CONNECT_FAILED) << group;
}

TEST_F(RealServerTest, ASilentServerIsGivenUpInTimeAndNobodyElseWaitsForIt)
{
    Kamailio server(workplace());
    server.start();
    startDaemon();
    writeProfile("Profile0", profileOf("silent", serverOver("udp"), server.port()));
    writeProfile("Profile1", profileOf("silent", serverOver("tcp"), server.port()));
    writeProfile("Profile2", profileOf("anna", serverOver("udp"), server.port()));

    const auto begin = std::chrono::steady_clock::now();
    auto silent = connectAll({"Profile0", "Profile1"});
    EXPECT_EQ(statusOf("Profile0"), 1U);
    EXPECT_EQ(connectProfile("Profile2"), SIPD_ACK_SUCCESS);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4));
    for (SipdClient& client : silent)
        EXPECT_EQ(client.ack(), SIPD_ACK_CONNECT_FAILED);
    EXPECT_GT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(7));
    EXPECT_EQ(statusOf("Profile0"), 0U);
    EXPECT_EQ(statusOf("Profile2"), SIPD_PROFILE_CONNECTED);
}

TEST_F(RealServerTest, AProfileThatMakesNoSenseIsIncorrect)
{
    startDaemon();
    writeProfile("Profile0", profileOf("anna", "", 5060));
    writeProfile("Profile1", profileOf("anna", "127.0.0.1 or so", 5060));
    writeProfile("Profile2", profileOf("anna", "127.0.0.1", 0));
    writeProfile("Profile3", profileOf("anna", "127.0.0.1", 65536));
    for (const char* group : {"Profile0", "Profile1", "Profile2", "Profile3", "Profile4"})
        EXPECT_EQ(connectProfile(group), SIPD_ACK_INCORRECT_PROFILE) << group;
}

TEST_F(RealServerTest, AServerMayBeTypedInManyWays)
{
    Kamailio server(workplace());
    server.start();
    startDaemon();
    std::vector<std::string> typed = {"127.0.0.1",
                                      "localhost",
                                      "sip:127.0.0.1",
                                      "127.0.0.1  ",
                                      "127.0.0.1;transport=UDP",
                                      "sip:localhost;transport=tcp"};
    if (Kamailio::hasIpv6())
        typed.insert(typed.end(), {"::1", "[::1]", "sip:[::1];transport=tcp"});
    for (const std::string& address : typed) {
        writeProfile("Profile0", profileOf("anna", address, server.port()));
        EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS) << address;
        EXPECT_TRUE(server.registered("anna")) << address;
        EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS) << address;
        EXPECT_FALSE(server.registered("anna")) << address;
    }
}

TEST_F(RealServerTest, UserNamesAndPasswordsMayHoldAnyCharacter)
{
    const char password[] = "p:a\"s\\s %@,;=<>&#ö";
    Kamailio server(workplace(), {.password = password});
    server.start();
    startDaemon();
    // This server takes names of ASCII alone.
    for (const char* user : {"anna", "o'neil@home", "room 7", "+49 (30) 1234", "100%"}) {
        TestProfile profile = profileOf(user, "127.0.0.1", server.port());
        profile.password = password;
        writeProfile("Profile0", profile);
        EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS) << user;
    }
    EXPECT_EQ(daemon().log().find("p:a"), std::string::npos);
}

TEST_F(RealServerTest, TenProfilesConnectAtOnce)
{
    Kamailio server(workplace());
    server.start();
    startDaemon();
    std::vector<std::string> groups;
    for (int i = 0; i < 10; ++i) {
        groups.push_back("Profile" + std::to_string(i));
        writeProfile(groups.back(), profileOf("user" + std::to_string(i),
                                              serverOver(i % 2 == 0 ? "udp" : "tcp"), server.port()));
    }
    std::vector<SipdClient> clients = connectAll(groups);
    for (SipdClient& client : clients)
        EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(server.registered("user" + std::to_string(i))) << i;
    EXPECT_EQ(disconnectProfile("Profile4"), SIPD_ACK_SUCCESS);
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(server.registered("user" + std::to_string(i)).has_value(), i != 4) << i;
}
