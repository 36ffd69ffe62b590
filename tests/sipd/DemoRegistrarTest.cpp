#include "RealServerProcess.h"
#include "SipdProcess.h"

#include <QRegularExpression>

#include <gmock/gmock.h>

#include <csignal>
#include <memory>

using testing::HasSubstr;
using testing::Not;

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

    const int port = freePort();
    QTemporaryDir workplace;
    std::unique_ptr<LoggedProgram> registrar;

private:
    int starts = 0;
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
    startRegistrar({"--account", std::string("jörg:") + PASSWORD, "--account", "anna:new"});
    startDaemon();
    EXPECT_EQ(connect("jörg", PASSWORD), SIPD_ACK_SUCCESS);
    EXPECT_EQ(connect("anna", "secret"), SIPD_ACK_INCORRECT_PROFILE);
    EXPECT_EQ(connect("anna", "new"), SIPD_ACK_SUCCESS);
    EXPECT_THAT(registrar->log(), HasSubstr("jörg registered at"));
    EXPECT_THAT(registrar->log(), Not(HasSubstr("q:b")));
}

TEST_F(DemoRegistrar, AnotherOneTakesOverItsClients)
{
    startRegistrar();
    startDaemon({"--expires", "2"});
    EXPECT_EQ(connect("anna"), SIPD_ACK_SUCCESS);
    startRegistrar();
    // It has another nonce, which is no reason to refuse anybody.
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
    QTemporaryDir workplace;
    for (const std::vector<std::string>& options :
         std::vector<std::vector<std::string>>{{"--port"},
                                               {"--port", "0"},
                                               {"--port", "65536"},
                                               {"--port", "5o"},
                                               {"--account", "tr0ub4dor"},
                                               {"--account", ":tr0ub4dor"},
                                               {"--no-such-option"}}) {
        std::vector<std::string> command = {DEMO_REGISTRAR};
        command.insert(command.end(), options.begin(), options.end());
        LoggedProgram program(command, workplace.filePath("log").toStdString());
        EXPECT_TRUE(waitUntil([&] { return !program.isRunning(); }));
        EXPECT_EQ(program.exitStatus(), 2) << options[0];
        EXPECT_THAT(program.log(), HasSubstr("usage: demo-registrar"));
        EXPECT_THAT(program.log(), Not(HasSubstr("tr0ub4dor")));
    }
}
