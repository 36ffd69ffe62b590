// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The daemon verifies a server that is reached by TLS.
#include "RealServerTest.h"
#include "ShiftedTime.h"
#include "TestCertificates.h"

#include <cstdlib>
#include <list>
#include <map>
#include <utility>

namespace {

constexpr char GOOD_NAMES[] = "DNS:localhost,IP:127.0.0.1";
constexpr char OTHER_NAMES[] = "DNS:other.example,IP:127.0.0.2";
// AddressSanitizer keeps what was freed for a while.
constexpr char ASAN_OPTIONS[] = "quarantine_size_mb=1";

// The daemon trusts "authority". From a server's directory that is "../authority".
class RealServerTls : public RealServerTest
{
protected:
    void SetUp() override
    {
        RealServerTest::SetUp();
        TestCertificates(workplace()).makeAuthority("authority");
    }

    TestCertificates certificateOf(const std::string& server) const
    {
        return TestCertificates(workplace() / server);
    }

    // Starts a server with the certificate of that name.
    Kamailio& startServer(const std::string& name)
    {
        const TestCertificates certificate = certificateOf(name);
        Kamailio& server = servers.emplace_back(
            workplace() / name, Kamailio::Options{.certificate = certificate.file("server.pem"),
                                                  .key = certificate.file("server.key")});
        server.start();
        return server;
    }
    void startTrustingDaemon()
    {
        startDaemon({"--ca-file", (workplace() / "authority.pem").string()}, environment);
    }

    // Under Memcheck a handshake may take longer than the daemon waits: then the user tries again.
    static bool succeeds(const std::function<bool()>& attempt)
    {
        return std::getenv("SIPD_UNDER") != nullptr ? waitUntil(attempt) : attempt();
    }
    static bool connects()
    {
        return succeeds([] { return connectProfile("Profile0") == SIPD_ACK_SUCCESS; });
    }

    // The command before the daemon.
    std::vector<std::string> environment = {"/usr/bin/env", std::string("ASAN_OPTIONS=") + ASAN_OPTIONS};

    std::list<Kamailio> servers;
};

} // namespace

TEST_F(RealServerTls, ConnectsToAServerWithAGoodCertificate)
{
    certificateOf("good").make("../authority", GOOD_NAMES);
    Kamailio& server = startServer("good");
    startTrustingDaemon();
    for (const char* address : {"localhost;transport=tls", "sip:localhost;transport=TLS "}) {
        writeProfile("Profile0", profileOf("anna", address, server.tlsPort()));
        EXPECT_TRUE(connects()) << address;
        const auto binding = server.registered("anna");
        ASSERT_TRUE(binding) << daemon().log();
        EXPECT_EQ(binding->transport, "tls");
        EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
        EXPECT_FALSE(server.registered("anna"));
    }
}

TEST_F(RealServerTls, TrustsTheSystemsAuthorities)
{
    if (std::system("unshare -m true 2>/dev/null") != 0)
        GTEST_SKIP() << "a private mount is not possible here";
    certificateOf("system").makeAuthority("systems");
    certificateOf("system").linkAuthorities();
    certificateOf("good").make("../system/systems", GOOD_NAMES);
    certificateOf("foreign").make("../authority", GOOD_NAMES);
    std::vector<std::string> command = {"/usr/bin/unshare", "-m", "/bin/sh", "-c",
                                        "mount --bind " + (workplace() / "system").string() +
                                            " /etc/ssl/certs && exec \"$0\" \"$@\""};
    command.insert(command.end(), environment.begin(), environment.end());
    startDaemon({}, command);
    writeProfile("Profile0", profileOf("anna", "localhost;transport=tls", startServer("good").tlsPort()));
    writeProfile("Profile1", profileOf("bert", "localhost;transport=tls", startServer("foreign").tlsPort()));
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS) << daemon().log();
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_CONNECT_FAILED);
}

TEST_F(RealServerTls, ReportsThatTheSystemHasNoCertificates)
{
    if (std::system("unshare -m mount -t tmpfs none /etc/ssl 2>/dev/null") != 0)
        GTEST_SKIP() << "a private mount is not possible here";
    startDaemon({}, {"/usr/bin/unshare", "-m", "/bin/sh", "-c",
                     "mount -t tmpfs none /etc/ssl && exec \"$0\" \"$@\""});
    writeProfile("Profile0", profileOf("anna", "localhost;transport=tls", 1));
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_CONNECT_FAILED);
    EXPECT_NE(daemon().log().find("no certificates in /etc/ssl/certs"), std::string::npos) << daemon().log();
}

TEST_F(RealServerTls, LeavesNoMemoryBehind)
{
    certificateOf("good").make("../authority", GOOD_NAMES);
    Kamailio& server = startServer("good");
    startTrustingDaemon();
    writeProfile("Profile0", profileOf("anna", "localhost;transport=tls", server.tlsPort()));
    SipdClient client;
    client.introduce();
    const auto cycle = [&client](int count) {
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(client.request(PROFILE_CTRL_CONNECT, "Profile0"), SIPD_ACK_SUCCESS);
            EXPECT_EQ(client.request(PROFILE_CTRL_DISCONNECT, "Profile0"), SIPD_ACK_SUCCESS);
        }
    };
    cycle(60); // AddressSanitizer's store of freed memory is full then
    const long before = memoryOf(client.daemon());
    cycle(50);
    EXPECT_LT(memoryOf(client.daemon()) - before, 1024);
}

TEST_F(RealServerTls, RejectsBadCertificates)
{
    certificateOf("foreign").makeAuthority("stranger");
    certificateOf("foreign").make("stranger", GOOD_NAMES);
    certificateOf("other").make("../authority", OTHER_NAMES);
    certificateOf("expired").makeValid("20200101", "20200201", "../authority", GOOD_NAMES);
    certificateOf("own").makeSelfSigned(GOOD_NAMES);
    startTrustingDaemon();
    const std::map<std::string, std::string> reasons = {
        {"foreign", "its certificate is not from a trusted authority"},
        {"other", "its certificate is for another name"},
        {"expired", "its certificate has expired"},
        {"own", "its certificate is self-signed"}};
    for (const auto& [user, reason] : reasons) {
        Kamailio& server = startServer(user);
        writeProfile("Profile0", profileOf(user, "localhost;transport=tls", server.tlsPort()));
        EXPECT_TRUE(succeeds([this, &user, &reason] {
            EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_CONNECT_FAILED) << user;
            return logContains(reason);
        })) << daemon().log();
        EXPECT_FALSE(server.registered(user)) << user;
    }
}

TEST_F(RealServerTls, FailsAtAServerThatDoesNotSpeakTls)
{
    ShiftedTime time(directory().toStdString());
    const auto shifted = time.wrapper(ASAN_OPTIONS);
    environment.insert(environment.end(), shifted.begin(), shifted.end());
    certificateOf("good").make("../authority", GOOD_NAMES);
    startTrustingDaemon();
    Kamailio& server = startServer("good");
    writeProfile("Profile0", profileOf("plain", "localhost;transport=tls", server.port()));
    SipdClient client(PROFILE_CTRL_CONNECT, "Profile0");
    ShiftedTime::waitUntilIdle(client.daemon());
    time.sleepFor(std::chrono::seconds(8));
    EXPECT_EQ(client.ack(), SIPD_ACK_CONNECT_FAILED);
    EXPECT_FALSE(server.registered("plain"));
}
