// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// What a TLS server must prove, in a handshake of a client and a server in this process.

#include "TlsTrust.h"
#include "TestCertificates.h"
#include "VirtualNetwork.h"

#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <cstdlib>
#include <map>

namespace {

struct Result
{
    std::string reason;     // empty when the client trusts the server
    std::string serverName; // that the client asked for
    std::string version;
};

class TlsTrustTest : public testing::Test
{
protected:
    TlsTrustTest()
    {
        authority_.makeAuthority("authority");
        authority_.makeAuthority("stranger");
    }
    ~TlsTrustTest() override { std::filesystem::remove_all(directory_); }

    const TestCertificates& server() const { return authority_; }

    // A handshake with the server's certificate, and what the client then knows.
    Result shakeHands(const std::string& host, int version = 0)
    {
        Result result;
        VirtualClock clock;
        TlsTrust trust(clock, host, server().file("authority.pem"),
                       [&result](const std::string& reason) { result.reason = reason; });
        const std::shared_ptr<SSL_CTX> own = contextFor(trust);
        EXPECT_TRUE(trust.isBound());
        const std::shared_ptr<SSL_CTX> theirs(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
        const std::string chain = server().file("server.pem");
        EXPECT_EQ(SSL_CTX_use_certificate_chain_file(theirs.get(), chain.c_str()), 1);
        EXPECT_EQ(
            SSL_CTX_use_PrivateKey_file(theirs.get(), server().file("server.key").c_str(), SSL_FILETYPE_PEM),
            1);
        SSL_CTX_set_security_level(theirs.get(), 0);
        SSL_CTX_set_min_proto_version(theirs.get(), version);
        SSL_CTX_set_max_proto_version(theirs.get(), version);
        run(own.get(), theirs.get(), result);
        clock.advance(std::chrono::seconds(1), [] {});
        return result;
    }
    std::string reasonFor(const std::string& host) { return shakeHands(host).reason; }

private:
    // As the SIP stack makes one.
    static std::shared_ptr<SSL_CTX> contextFor(TlsTrust& trust)
    {
        const TlsTrust::Binding binding(trust);
        std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_method()), SSL_CTX_free);
        SSL_CTX_set_verify(context.get(), SSL_VERIFY_NONE, nullptr);
        SSL_CTX_set_security_level(context.get(), 0);
        return context;
    }
    static void run(SSL_CTX* own, SSL_CTX* theirs, Result& result)
    {
        const std::shared_ptr<SSL> client(SSL_new(own), SSL_free);
        const std::shared_ptr<SSL> server(SSL_new(theirs), SSL_free);
        BIO* near = nullptr;
        BIO* far = nullptr;
        BIO_new_bio_pair(&near, 0, &far, 0);
        SSL_set_bio(client.get(), near, near);
        SSL_set_bio(server.get(), far, far);
        int connected = -1;
        for (int step = 0; step < 10 && connected != 1 && result.reason.empty(); ++step) {
            connected = SSL_connect(client.get());
            SSL_accept(server.get());
        }
        const char* const name = SSL_get_servername(server.get(), TLSEXT_NAMETYPE_host_name);
        result.serverName = name == nullptr ? "" : name;
        result.version = connected == 1 ? SSL_get_version(client.get()) : "";
    }
    static std::string newDirectory()
    {
        std::string path = testing::TempDir() + "tls-trust-XXXXXX";
        return mkdtemp(path.data());
    }

    const std::string directory_ = newDirectory();
    const TestCertificates authority_{directory_};
};

} // namespace

TEST_F(TlsTrustTest, SendsTheServersNameButNoAddress)
{
    server().make("authority", "DNS:sip.example.com,IP:192.0.2.1");
    EXPECT_EQ(shakeHands("sip.example.com").serverName, "sip.example.com");
    EXPECT_EQ(shakeHands("sip.example.com.").serverName, "sip.example.com");
    EXPECT_EQ(shakeHands("192.0.2.1").serverName, "");
}

TEST_F(TlsTrustTest, ComparesEachKindOfEntry)
{
    const std::map<std::string, std::map<std::string, bool>> hosts = {
        {"DNS:sip.example.com",
         {{"SIP.example.com", true}, {"sip.example.com.", true}, {"example.com", false}}},
        {"DNS:*.example.com",
         {{"sip.example.com", true}, {"a.sip.example.com", false}, {"example.com", false}}},
        {"DNS:s*.example.com", {{"sip.example.com", false}}},
        {"DNS:192.0.2.1", {{"192.0.2.1", false}}},
        {"IP:192.0.2.1", {{"192.0.2.1", true}, {"192.0.2.10", false}, {"sip.example.com", false}}},
        {"IP:2001:db8::1", {{"2001:DB8:0::1", true}, {"2001:db8::2", false}, {"::1", false}}},
        {"URI:sip:example.com", {{"Example.com", true}, {"sip.example.com", false}, {"192.0.2.1", false}}},
        {"URI:sip:anna@example.com", {{"example.com", false}}},
        {"DNS:other.example,IP:192.0.2.1,URI:sip:example.com",
         {{"192.0.2.1", true}, {"example.com", true}, {"server", false}}},
    };
    for (const auto& [entries, expected] : hosts) {
        server().make("authority", entries);
        for (const auto& [host, isTrusted] : expected)
            EXPECT_EQ(reasonFor(host), isTrusted ? "" : "its certificate is for another name")
                << host << " with " << entries;
    }
}

TEST_F(TlsTrustTest, TakesTheCommonNameWhenThereIsNoDnsEntry)
{
    server().make("authority", "email:anna@example.com");
    EXPECT_EQ(reasonFor("server"), "");
    EXPECT_EQ(reasonFor("example.com"), "its certificate is for another name");
}

TEST_F(TlsTrustTest, TellsWhyACertificateIsBad)
{
    server().makeSelfSigned("DNS:sip.example.com");
    EXPECT_EQ(reasonFor("sip.example.com"), "its certificate is self-signed");
    server().make("stranger", "DNS:sip.example.com");
    EXPECT_EQ(reasonFor("sip.example.com"), "its certificate is not from a trusted authority");
    server().makeValid("20200101", "20200201", "authority", "DNS:sip.example.com");
    EXPECT_EQ(reasonFor("sip.example.com"), "its certificate has expired");
    server().makeValid("21200101", "21200201", "authority", "DNS:sip.example.com");
    EXPECT_EQ(reasonFor("sip.example.com"), "its certificate is not yet valid");
    server().make("authority", "DNS:sip.example.com -addext extendedKeyUsage=clientAuth");
    EXPECT_EQ(reasonFor("sip.example.com").find("its certificate is not valid: "), 0U);
}

TEST_F(TlsTrustTest, FollowsALongChainOfAuthorities)
{
    server().makeAuthority("country", "authority");
    server().makeAuthority("town", "country");
    server().makeAuthority("street", "town");
    server().make("street", "DNS:sip.example.com");
    EXPECT_EQ(reasonFor("sip.example.com"), "");
    server().makeAuthority("elsewhere", "stranger");
    server().make("elsewhere", "DNS:sip.example.com");
    EXPECT_EQ(reasonFor("sip.example.com"), "its certificate is not from a trusted authority");
}

TEST_F(TlsTrustTest, SpeaksTheVersionsThatAreSafe)
{
    server().make("authority", "DNS:localhost");
    EXPECT_EQ(shakeHands("localhost").version, "TLSv1.3");
    EXPECT_EQ(shakeHands("localhost", TLS1_2_VERSION).version, "TLSv1.2");
    for (const int version : {TLS1_VERSION, TLS1_1_VERSION})
        EXPECT_EQ(shakeHands("localhost", version).reason.find("the TLS handshake failed: "), 0U) << version;
}

TEST_F(TlsTrustTest, TrustsNobodyWithoutAuthorities)
{
    server().make("authority", "DNS:localhost");
    std::filesystem::resize_file(server().file("authority.pem"), 0);
    EXPECT_EQ(reasonFor("localhost"), "its certificate is not from a trusted authority");
}

TEST_F(TlsTrustTest, LeavesOtherConnectionsAlone)
{
    VirtualClock clock;
    std::shared_ptr<SSL_CTX> context;
    {
        TlsTrust trust(clock, "localhost", "", [](const std::string& reason) { ADD_FAILURE() << reason; });
        const TlsTrust::Binding binding(trust);
        context.reset(SSL_CTX_new(TLS_client_method()), SSL_CTX_free);
    }
    const std::shared_ptr<SSL> orphan(SSL_new(context.get()), SSL_free);
    EXPECT_EQ(TlsTrust::of(orphan.get()), nullptr);
    EXPECT_EQ(SSL_connect(orphan.get()), -1);
    EXPECT_EQ(SSL_get_verify_mode(orphan.get()), SSL_VERIFY_NONE);
}
