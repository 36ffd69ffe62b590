// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Outcomes of a connect at a real server, one for each way to it.
#include "RealServerTest.h"
#include "ServerAddress.h"

#include <string>
#include <vector>

namespace {

struct Outcome
{
    std::string user;
    std::string password;
    _SIPD_APP_ACK_E ack;
};

const Outcome OUTCOMES[] = {
    {"anna", "secret", SIPD_ACK_SUCCESS},
    {"proxied", "secret", SIPD_ACK_SUCCESS},
    {"anna", "guess", SIPD_ACK_INCORRECT_PROFILE},
    {"proxied", "guess", SIPD_ACK_INCORRECT_PROFILE},
    {"busy", "secret", SIPD_ACK_SERVICE_UNAVAILABLE},
};

class RealServerOutcome : public RealServerTest, public testing::WithParamInterface<const char*>
{
};

INSTANTIATE_TEST_SUITE_P(Real, RealServerOutcome, testing::Values("udp", "tcp"), transportName);

} // namespace

TEST_P(RealServerOutcome, IsAcknowledged)
{
    const std::string transport = GetParam();
    Kamailio server(workplace());
    server.start();
    startDaemon();
    for (const Outcome& outcome : OUTCOMES) {
        SCOPED_TRACE(outcome.user + ' ' + outcome.password);
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
}

TEST_F(RealServerTest, ReportsAClosedPortAsNotReached)
{
    startDaemon();
    const int closed = freePort();
    writeProfile("Profile0", profileOf("anna", serverOver("udp"), closed));
    writeProfile("Profile1", profileOf("anna", serverOver("tcp"), closed));
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_CONNECT_FAILED);
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_CONNECT_FAILED);
}

TEST_F(RealServerTest, ReportsAnUnknownNameAsNotReached)
{
    startDaemon();
    writeProfile("Profile0", profileOf("anna", "nobody.invalid", 5061));
    // A machine without a network reports that instead.
    EXPECT_EQ(connectProfile("Profile0"),
              isAnyNetworkUp() ? SIPD_ACK_CONNECT_FAILED : SIPD_ACK_SERVICE_UNAVAILABLE);
}

TEST_F(RealServerTest, UnderstandsManySpellingsOfAServer)
{
    Kamailio server(workplace());
    server.start();
    startDaemon();
    std::vector<std::string> typed = {"127.0.0.1  ", "sip:localhost;transport=TCP"};
    if (Kamailio::hasIpv6())
        typed.insert(typed.end(), {"::1", "sip:[::1];transport=tcp"});
    for (const std::string& address : typed) {
        writeProfile("Profile0", profileOf("anna", address, server.port()));
        EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS) << address;
        EXPECT_TRUE(server.registered("anna")) << address;
        EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS) << address;
    }
}

TEST_F(RealServerTest, AcceptsAnyUserNameAndPassword)
{
    const char password[] = "p:a\"s\\s %@,;=<>&#ö";
    Kamailio server(workplace(), {.password = password});
    server.start();
    startDaemon();
    // kamailio accepts only ASCII names.
    for (const char* user : {"anna", "o'neil@home", "room 7", "+49 (30) 1234", "100%"}) {
        TestProfile profile = profileOf(user, "127.0.0.1", server.port());
        profile.password = password;
        writeProfile("Profile0", profile);
        EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS) << user;
    }
    EXPECT_EQ(daemon().log().find("p:a"), std::string::npos);
}

TEST_F(RealServerTest, ConnectsTenProfilesAtOnce)
{
    constexpr int many = 10;
    Kamailio server(workplace());
    server.start();
    startDaemon();
    for (int i = 0; i < many; ++i)
        writeProfile(
            "Profile" + std::to_string(i),
            profileOf("user" + std::to_string(i), serverOver(i % 2 == 0 ? "udp" : "tcp"), server.port()));
    std::vector<SipdClient> clients;
    for (int i = 0; i < many; ++i)
        clients.emplace_back(PROFILE_CTRL_CONNECT, "Profile" + std::to_string(i));
    for (SipdClient& client : clients)
        EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(disconnectProfile("Profile4"), SIPD_ACK_SUCCESS);
    for (int i = 0; i < many; ++i)
        EXPECT_EQ(server.registered("user" + std::to_string(i)).has_value(), i != 4) << i;
}
