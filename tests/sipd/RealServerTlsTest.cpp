// The daemon verifies a server that is reached by TLS.
#include "RealServerTest.h"

#include <cstdlib>
#include <fstream>
#include <list>
#include <utility>

namespace {

constexpr char GOOD_NAMES[] = "DNS:localhost,IP:127.0.0.1";
constexpr char OTHER_NAMES[] = "DNS:other.example,IP:127.0.0.2";

// A server's certificate and key, made by openssl in a directory of its own.
class Certificate
{
public:
    explicit Certificate(std::filesystem::path directory) : directory_(std::move(directory))
    {
        std::filesystem::create_directories(directory_);
    }

    std::filesystem::path file(const std::string& name) const { return directory_ / name; }

    // In NAME.pem and NAME.key.
    void makeAuthority(const std::string& name) const
    {
        openssl("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj '/CN=" +
                name + "' -keyout " + name + ".key -out " + name + ".pem");
    }
    // In server.pem and server.key, for these names, by that authority.
    void make(const std::string& authority, const std::string& names) const
    {
        openssl("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=server"
                " -addext basicConstraints=critical,CA:FALSE -addext subjectAltName=" +
                names + " -keyout server.key -out server.pem -CA " + authority + ".pem -CAkey " + authority +
                ".key");
    }
    // As the other, but of the year 2020.
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

// The daemon trusts "authority", which "../authority" is to a server's certificate.
class RealServerTls : public RealServerTest
{
protected:
    void SetUp() override
    {
        RealServerTest::SetUp();
        Certificate(workplace()).makeAuthority("authority");
    }

    Certificate certificateOf(const std::string& server) const { return Certificate(workplace() / server); }

    // With the certificate of that name.
    Kamailio& startServer(const std::string& name)
    {
        const Certificate certificate = certificateOf(name);
        Kamailio& server = servers.emplace_back(
            workplace() / name, Kamailio::Options{.certificate = certificate.file("server.pem"),
                                                  .key = certificate.file("server.key")});
        server.start();
        return server;
    }
    void startDaemon() { sipd.start({"--ca-file", workplace() / "authority.pem"}); }

    std::list<Kamailio> servers;
};

} // namespace

TEST_F(RealServerTls, ConnectsToAServerWithAGoodCertificate)
{
    certificateOf("good").make("../authority", GOOD_NAMES);
    Kamailio& server = startServer("good");
    startDaemon();
    for (const char* address : {"localhost;transport=tls", "sip:localhost;transport=TLS "}) {
        store("the profile", record(address, server.tlsPort(), "anna"));
        EXPECT_EQ(connectAndWait("Profile0"), SIPD_ACK_SUCCESS) << address;
        const auto binding = server.registered("anna");
        ASSERT_TRUE(binding) << sipd.log();
        EXPECT_EQ(binding->transport, "tls");
        EXPECT_EQ(disconnectAndWait("Profile0"), SIPD_ACK_SUCCESS);
        EXPECT_FALSE(server.registered("anna"));
    }
}

TEST_F(RealServerTls, DoesNotTrustABadCertificateNorAPlainConnection)
{
    certificateOf("foreign").makeAuthority("stranger");
    certificateOf("foreign").make("stranger", GOOD_NAMES);
    certificateOf("other").make("../authority", OTHER_NAMES);
    certificateOf("expired").makeExpired("../authority", GOOD_NAMES);
    certificateOf("good").make("../authority", GOOD_NAMES);
    startDaemon();
    const auto add = [](const char* name, int port) {
        store(name, record("localhost;transport=tls", port, name));
    };
    add("foreign", startServer("foreign").tlsPort());
    add("other", startServer("other").tlsPort());
    add("expired", startServer("expired").tlsPort());
    add("plain", startServer("good").port());

    std::list<DaemonClient> clients(4);
    int group = 0;
    for (DaemonClient& client : clients)
        client.connect("Profile" + std::to_string(group++));
    for (DaemonClient& client : clients)
        EXPECT_EQ(client.ack(), SIPD_ACK_CONNECT_FAILED);
    for (Kamailio& server : servers)
        for (const char* user : {"foreign", "other", "expired", "plain"})
            EXPECT_FALSE(server.registered(user)) << user;
}
