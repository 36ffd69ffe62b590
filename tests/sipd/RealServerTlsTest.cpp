// The daemon verifies a server that is reached by TLS.
#include "RealServerTest.h"
#include "ShiftedTime.h"

#include <cstdlib>
#include <fstream>
#include <list>
#include <map>
#include <utility>

namespace {

constexpr char GOOD_NAMES[] = "DNS:localhost,IP:127.0.0.1";
constexpr char OTHER_NAMES[] = "DNS:other.example,IP:127.0.0.2";
constexpr char ASAN_OPTIONS[] = "fast_unwind_on_malloc=0:quarantine_size_mb=1";

// A server's certificate and key, made by openssl in a directory of its own.
class Certificate
{
public:
    explicit Certificate(std::filesystem::path directory) : directory_(std::move(directory))
    {
        std::filesystem::create_directories(directory_);
    }

    std::filesystem::path file(const std::string& name) const { return directory_ / name; }

    // Makes NAME.pem and NAME.key.
    void makeAuthority(const std::string& name) const
    {
        openssl("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj '/CN=" +
                name + "' -keyout " + name + ".key -out " + name + ".pem");
    }
    // Makes the links by which the TLS library finds authorities.
    void linkAuthorities() const { openssl("rehash ."); }
    // Makes server.pem and server.key, for these names, signed by that authority.
    void make(const std::string& authority, const std::string& names) const
    {
        openssl("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=server"
                " -addext basicConstraints=critical,CA:FALSE -addext subjectAltName=" +
                names + " -keyout server.key -out server.pem -CA " + authority + ".pem -CAkey " + authority +
                ".key");
    }
    // As make(), but expired in 2020.
    void makeExpired(const std::string& authority, const std::string& names) const
    {
        std::ofstream(file("ca.cnf"))
            << "[ca]\ndefault_ca = test\n[test]\ndatabase = index\nnew_certs_dir = .\n"
               "rand_serial = yes\ndefault_md = sha256\npolicy = any\n"
               "copy_extensions = copy\n[any]\ncommonName = supplied\n";
        std::ofstream(file("index"));
        openssl("req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj /CN=server"
                " -addext subjectAltName=" +
                names + " -keyout server.key -out server.csr");
        openssl("ca -batch -config ca.cnf -cert " + authority + ".pem -keyfile " + authority +
                ".key -startdate 20200101000000Z -enddate 20200201000000Z -in server.csr -out server.pem");
    }

private:
    void openssl(const std::string& arguments) const
    {
        const std::string command =
            "cd " + directory_.string() + " && openssl " + arguments + " >>openssl.log 2>&1";
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
    }

    const std::filesystem::path directory_;
};

// The daemon trusts "authority". From a server's directory that is "../authority".
class RealServerTls : public RealServerTest
{
protected:
    void SetUp() override
    {
        RealServerTest::SetUp();
        Certificate(workplace()).makeAuthority("authority");
    }

    Certificate certificateOf(const std::string& server) const { return Certificate(workplace() / server); }

    // Starts a server with the certificate of that name.
    Kamailio& startServer(const std::string& name)
    {
        const Certificate certificate = certificateOf(name);
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
    static bool connects()
    {
        const auto attempt = [] { return connectProfile("Profile0") == SIPD_ACK_SUCCESS; };
        return std::getenv("SIPD_UNDER") != nullptr ? waitUntil(attempt) : attempt();
    }

    // The command before the daemon. LeakSanitizer needs whole call stacks to find the suppressed ones.
    std::vector<std::string> environment = {
        "/usr/bin/env", std::string("ASAN_OPTIONS=") + ASAN_OPTIONS,
        "LSAN_OPTIONS=print_suppressions=0:suppressions=" LEAK_SUPPRESSIONS};

    std::list<Kamailio> servers;
};

// A server that the daemon does not trust fails after 8 seconds.
class RealServerShiftedTls : public RealServerTls
{
protected:
    RealServerShiftedTls()
    {
        const auto shifted = time.wrapper(ASAN_OPTIONS);
        environment.insert(environment.end(), shifted.begin(), shifted.end());
    }
    // Lets the timeout expire once the daemon has tried everything.
    void expire()
    {
        ShiftedTime::waitUntilIdle(SipdClient().daemon());
        time.sleepFor(std::chrono::seconds(8));
    }

    ShiftedTime time{directory().toStdString()};
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

TEST_F(RealServerShiftedTls, TrustsTheSystemsAuthorities)
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
    SipdClient client(PROFILE_CTRL_CONNECT, "Profile1");
    expire();
    EXPECT_EQ(client.ack(), SIPD_ACK_CONNECT_FAILED);
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
    cycle(10);
    const long before = memoryOf(client.daemon());
    cycle(50);
    EXPECT_LT(memoryOf(client.daemon()) - before, 1024);
}

TEST_F(RealServerShiftedTls, RejectsBadCertificatesAndPlainConnections)
{
    certificateOf("foreign").makeAuthority("stranger");
    certificateOf("foreign").make("stranger", GOOD_NAMES);
    certificateOf("other").make("../authority", OTHER_NAMES);
    certificateOf("expired").makeExpired("../authority", GOOD_NAMES);
    certificateOf("good").make("../authority", GOOD_NAMES);
    startTrustingDaemon();
    const std::map<std::string, int> ports = {{"foreign", startServer("foreign").tlsPort()},
                                              {"other", startServer("other").tlsPort()},
                                              {"expired", startServer("expired").tlsPort()},
                                              {"plain", startServer("good").port()}};
    std::list<SipdClient> clients;
    for (const auto& [user, port] : ports) {
        const std::string group = "Profile" + std::to_string(clients.size());
        writeProfile(group, profileOf(user, "localhost;transport=tls", port));
        SipdClient& client = clients.emplace_back();
        EXPECT_EQ(client.introduce(), SIPD_ACK_SUCCESS);
        EXPECT_TRUE(client.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, group)));
    }
    expire();
    for (SipdClient& client : clients)
        EXPECT_EQ(client.ack(), SIPD_ACK_CONNECT_FAILED);
    for (Kamailio& server : servers)
        for (const auto& [user, port] : ports)
            EXPECT_FALSE(server.registered(user)) << user;
}
