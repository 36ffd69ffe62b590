// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Programs.h"
#include "RealServerProcess.h"
#include "SipdProcess.h"

#include <QRegularExpression>

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <csignal>
#include <fstream>
#include <memory>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr char PASSWORD[] = "q:b ß";

// The demo registrar, and the daemon that registers with it.
class DemoRegistrar : public SipdTest
{
protected:
    void startRegistrar(const std::vector<std::string>& options = {})
    {
        std::vector<std::string> command = {DEMO_REGISTRAR, "--port", std::to_string(port)};
        command.insert(command.end(), options.begin(), options.end());
        registrar.reset();
        const QString log = "log" + QString::number(++starts);
        registrar = std::make_unique<LoggedProgram>(command, workplace.filePath(log).toStdString());
        EXPECT_TRUE(waitUntil([this] { return !registrar->isRunning() || says("listening"); }));
    }
    bool says(const std::string& text) const { return registrar->log().find(text) != std::string::npos; }

    uint32_t connect(const std::string& user, const std::string& password = "secret",
                     const std::string& transport = "udp")
    {
        writeProfile("Profile0", {.server = "127.0.0.1;transport=" + transport,
                                  .port = static_cast<unsigned int>(port),
                                  .user = user,
                                  .password = password});
        return connectProfile("Profile0");
    }

    // A file of accounts.
    std::string fileWith(const std::string& text)
    {
        std::string path = workplace.filePath("accounts" + QString::number(++files)).toStdString();
        std::ofstream(path) << text;
        chmod(path.c_str(), 0600);
        return path;
    }

    // The registrar's answer to a REGISTER for anna with these credentials.
    std::string answerTo(const std::string& credentials) const
    {
        const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        const sockaddr_in address = {.sin_family = AF_INET,
                                     .sin_port = htons(static_cast<uint16_t>(port)),
                                     .sin_addr = {htonl(INADDR_LOOPBACK)},
                                     .sin_zero = {}};
        EXPECT_EQ(::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        const std::string request = "REGISTER sip:127.0.0.1 SIP/2.0\r\n"
                                    "Via: SIP/2.0/UDP 127.0.0.1;rport;branch=z9hG4bK" +
                                    std::to_string(++branches) +
                                    "\r\n"
                                    "From: <sip:anna@127.0.0.1>;tag=1\r\nTo: <sip:anna@127.0.0.1>\r\n"
                                    "Call-ID: 1\r\nCSeq: 1 REGISTER\r\nContact: <sip:anna@127.0.0.1>\r\n"
                                    "Authorization: " +
                                    credentials + "\r\nContent-Length: 0\r\n\r\n";
        EXPECT_EQ(send(fd, request.data(), request.size(), 0), static_cast<ssize_t>(request.size()));
        pollfd answered = {fd, POLLIN, 0};
        std::string answer(4096, ' ');
        poll(&answered, 1, 5000);
        const ssize_t length = recv(fd, answer.data(), answer.size(), MSG_DONTWAIT);
        close(fd);
        answer.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
        return answer;
    }

    const int port = freePort();
    QTemporaryDir workplace;
    std::unique_ptr<LoggedProgram> registrar;

private:
    int starts = 0;
    int files = 0;
    mutable int branches = 0;
};

} // namespace

TEST_F(DemoRegistrar, HasAnAccountForEachOutcome)
{
    startRegistrar();
    startDaemon();
    for (const char* transport : {"udp", "tcp"}) {
        EXPECT_EQ(connect("anna", "secret", transport), SIPD_ACK_SUCCESS);
        EXPECT_EQ(connect("anna", "guess", transport), SIPD_ACK_INCORRECT_PROFILE);
        EXPECT_EQ(connect("ben", "secret", transport), SIPD_ACK_INCORRECT_PROFILE);
        EXPECT_EQ(connect("nobody", "secret", transport), SIPD_ACK_INCORRECT_PROFILE);
        EXPECT_EQ(connect("banned", "secret", transport), SIPD_ACK_INCORRECT_PROFILE);
        EXPECT_EQ(connect("busy", "secret", transport), SIPD_ACK_SERVICE_UNAVAILABLE);
    }
    EXPECT_THAT(registrar->log(), Not(HasSubstr("guess")));
}

TEST_F(DemoRegistrar, KeepsSilentWhenSilentCalls)
{
    startRegistrar();
    writeProfile("Profile0",
                 {.port = static_cast<unsigned int>(port), .user = "silent", .autoConnect = true});
    startDaemon();
    EXPECT_TRUE(waitUntil([this] { return says("silent not answered"); }));
    EXPECT_EQ(statusOf("Profile0"), 1U);
}

TEST_F(DemoRegistrar, TellsOfEveryBindingThatComesAndGoes)
{
    startRegistrar();
    startDaemon();
    EXPECT_EQ(connect("anna"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(connect("anna", "guess"), SIPD_ACK_INCORRECT_PROFILE);
    const QRegularExpression log(QRegularExpression::anchoredPattern(
        "listening on 127.0.0.1 port \\d+\n"
        "\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d  anna registered at sip:anna@127.0.0.1:\\S+ for 3600 s\n"
        "\\S+ \\S+  anna unregistered from sip:anna@127.0.0.1:\\S+\n"
        "\\S+ \\S+  anna refused: wrong password\n"));
    EXPECT_TRUE(log.match(QString::fromStdString(registrar->log())).hasMatch()) << registrar->log();
}

TEST_F(DemoRegistrar, TellsOfABindingThatIsNotRenewed)
{
    startRegistrar();
    startDaemon({"--expires", "2"});
    EXPECT_EQ(connect("anna"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(waitUntil([this] { return says("anna renewed at"); }));
    daemon().signal(SIGKILL);
    EXPECT_EQ(daemon().wait(), -SIGKILL);
    EXPECT_TRUE(waitUntil([this] { return says("anna expired at"); }));
}

TEST_F(DemoRegistrar, TakesAnAccountOfAnyCharactersAndKeepsItsPasswordToItself)
{
    startRegistrar({"--account", fileWith(std::string("jörg:") + PASSWORD + "\r\n\nben:other"), "--account",
                    fileWith("anna:new\n")});
    startDaemon();
    EXPECT_EQ(connect("jörg", PASSWORD), SIPD_ACK_SUCCESS);
    EXPECT_EQ(connect("anna", "secret"), SIPD_ACK_INCORRECT_PROFILE);
    EXPECT_EQ(connect("anna", "new"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(connect("ben", "other"), SIPD_ACK_SUCCESS);
    EXPECT_THAT(registrar->log(), HasSubstr("jörg registered at"));
    EXPECT_THAT(registrar->log(), Not(HasSubstr("q:b")));
}

TEST_F(DemoRegistrar, AsksAgainForCredentialsThatLackSomething)
{
    startRegistrar();
    const std::string challenge = answerTo("Digest realm=\"demo\"");
    ASSERT_THAT(challenge, StartsWith("SIP/2.0 401"));
    const std::string nonce =
        challenge.substr(challenge.find("nonce="), challenge.find(", algorithm") - challenge.find("nonce="));
    for (const std::string& credentials :
         {"Digest " + nonce, "Digest username=\"anna\", " + nonce, "Digest realm=\"demo\", " + nonce,
          "Digest username=\"anna\", realm=\"demo\", " + nonce, std::string("Basic YW5uYTpzZWNyZXQ=")})
        EXPECT_THAT(answerTo(credentials), StartsWith("SIP/2.0 401")) << credentials;
}

TEST_F(DemoRegistrar, AnotherOneTakesOverItsClients)
{
    startRegistrar();
    startDaemon({"--expires", "2"});
    EXPECT_EQ(connect("anna"), SIPD_ACK_SUCCESS);
    startRegistrar();
    // Its nonce is another one. It refuses nobody for that.
    EXPECT_TRUE(waitUntil([this] { return says("anna registered at"); }));
    EXPECT_THAT(registrar->log(), Not(HasSubstr("refused")));
}

TEST_F(DemoRegistrar, EndsWithAReasonWhenItsPortIsTaken)
{
    startRegistrar();
    LoggedProgram second({DEMO_REGISTRAR, "--port", std::to_string(port)},
                         workplace.filePath("second").toStdString());
    EXPECT_TRUE(waitUntil([&] { return !second.isRunning(); }));
    EXPECT_EQ(second.exitStatus(), 1);
    EXPECT_THAT(second.log(), HasSubstr("cannot have port " + std::to_string(port)));
    registrar->signal(SIGTERM);
    EXPECT_TRUE(waitUntil([this] { return !registrar->isRunning(); }));
    EXPECT_EQ(registrar->exitStatus(), 0);
}

TEST(DemoRegistrarOptions, AreRefusedWithoutNamingWhatMayBeAPassword)
{
    for (const std::vector<std::string>& options :
         std::vector<std::vector<std::string>>{{"--port"},
                                               {"--port", "0"},
                                               {"--port", "65536"},
                                               {"--port", "5o"},
                                               {"--account", "anna:tr0ub4dor"},
                                               {"--account"},
                                               {"--no-such-option"}}) {
        std::vector<std::string> command = {DEMO_REGISTRAR};
        command.insert(command.end(), options.begin(), options.end());
        const auto [output, status] = outcomeOf(command);
        EXPECT_EQ(status, 2) << options[0];
        EXPECT_THAT(output, HasSubstr("usage: demo-registrar"));
        EXPECT_THAT(output, Not(HasSubstr("tr0ub4dor")));
    }
}

TEST(DemoRegistrarOptions, AFileOfAccountsIsRefusedWithTheReason)
{
    QTemporaryDir workplace;
    const std::string path = workplace.filePath("accounts").toStdString();
    const auto outcomeWith = [&](const std::string& text, mode_t mode) {
        std::ofstream(path) << text;
        chmod(path.c_str(), mode);
        const auto [output, status] = outcomeOf({DEMO_REGISTRAR, "--account", path});
        EXPECT_EQ(status, 2);
        EXPECT_THAT(output, Not(HasSubstr("tr0ub4dor")));
        return output;
    };
    EXPECT_THAT(outcomeWith("anna:tr0ub4dor\n", 0640), HasSubstr("others may read it; chmod 600 helps"));
    EXPECT_THAT(outcomeWith("anna:x\ntr0ub4dor\n", 0600), HasSubstr("line 2 is not USER:PASSWORD"));
    EXPECT_THAT(outcomeWith(":tr0ub4dor", 0600), HasSubstr("line 1 is not USER:PASSWORD"));
    unlink(path.c_str());
    EXPECT_THAT(outcomeOf({DEMO_REGISTRAR, "--account", path}).first, HasSubstr("No such file or directory"));
}
