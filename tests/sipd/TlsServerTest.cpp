// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The daemon at a registrar behind TLS.

#include "SipdProcess.h"
#include "StreamRelay.h"
#include "TestCertificates.h"
#include "TestRegistrar.h"

#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <map>

namespace {

class TlsServer : public SipdTest
{
protected:
    void SetUp() override
    {
        SipdTest::SetUp();
        certificates().makeAuthority("authority");
    }

    TestCertificates certificates() const { return TestCertificates(directory().toStdString() + "/server"); }
    StreamRelay::Certificate files() const
    {
        return {certificates().file("server.pem"), certificates().file("server.key")};
    }
    void startTrustingDaemon() { startDaemon({"--ca-file", certificates().file("authority.pem")}); }
    static uint32_t connectTo(const std::string& host, const StreamRelay& server)
    {
        writeProfile("Profile0", {.server = host + ";transport=tls", .port = server.port()});
        return connectProfile("Profile0");
    }

    TestRegistrar registrar;
};

} // namespace

TEST_F(TlsServer, IsAskedByNameInEachVersion)
{
    certificates().make("authority", "DNS:localhost");
    startTrustingDaemon();
    for (const auto& [version, name] :
         std::map<int, const char*>{{0, "TLSv1.3"}, {TLS1_2_VERSION, "TLSv1.2"}}) {
        StreamRelay server(registrar.port(), files(), version);
        EXPECT_EQ(connectTo("localhost", server), SIPD_ACK_SUCCESS) << daemon().log();
        EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
        ASSERT_EQ(server.handshakes().size(), 1U);
        EXPECT_EQ(server.handshakes()[0].version, name);
        EXPECT_EQ(server.handshakes()[0].serverName, "localhost");
    }
    EXPECT_TRUE(registrar.contacts().empty());
}

TEST_F(TlsServer, IsKnownByItsAddress)
{
    certificates().make("authority", "IP:127.0.0.1,IP:::1");
    startTrustingDaemon();
    StreamRelay server(registrar.port(), files());
    for (const char* host : {"127.0.0.1", "[::1]"}) {
        EXPECT_EQ(connectTo(host, server), SIPD_ACK_SUCCESS) << host << daemon().log();
        EXPECT_EQ(server.handshakes().back().serverName, "");
    }
    EXPECT_NE(connectTo("localhost", server), SIPD_ACK_SUCCESS) << "it has no such entry";
}

TEST_F(TlsServer, RedirectsToServersBehindTlsOnly)
{
    certificates().make("authority", "DNS:localhost");
    startTrustingDaemon();
    StreamRelay server(registrar.port(), files());
    TestRegistrar other;
    StreamRelay tls(other.port(), files());
    StreamRelay tcp(other.port(), StreamRelay::Faults());
    const auto connectRedirectedTo = [&](const std::string& host, unsigned int port, const char* transport) {
        registrar.setAnswer(302, "Moved Temporarily",
                            "Contact: <sip:" + host + ':' + std::to_string(port) + ";transport=" + transport +
                                ">\r\n");
        return connectTo("localhost", server);
    };

    EXPECT_EQ(connectRedirectedTo("localhost", other.port(), "udp"), SIPD_ACK_FAILED);
    EXPECT_EQ(connectRedirectedTo("localhost", tcp.port(), "tcp"), SIPD_ACK_FAILED);
    EXPECT_EQ(connectRedirectedTo("127.0.0.1", tls.port(), "tls"), SIPD_ACK_CONNECT_FAILED)
        << "its certificate is for another name";
    EXPECT_EQ(registrar.requests().size(), 3U);
    EXPECT_TRUE(other.requests().empty()) << daemon().log();

    ASSERT_EQ(connectRedirectedTo("localhost", tls.port(), "tls"), SIPD_ACK_SUCCESS) << daemon().log();
    EXPECT_EQ(tls.handshakes().back().serverName, "localhost");
    EXPECT_EQ(other.contacts().size(), 1U);
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(other.contacts().empty());
}
