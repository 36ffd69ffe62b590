// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The program sip-profile.
#include "ChildProcess.h"
#include "DaemonTest.h"
#include "FileDescriptor.h"
#include "Programs.h"
#include "SettingsFixture.h"
#include "SettingsHostLock.h"
#include "StrangerAtSocket.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <poll.h>
#include <pty.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

using testing::HasSubstr;
using testing::Not;

namespace {

const QByteArray FILE_OF_THREE = "[ProfileSummary]\nTotalProfile=3\n"
                                 "[Profile0]\nDisplayName=Home\nServer=sip.example.com\nUserID=anna\n"
                                 "Password=secret\nPortNum=5070\n"
                                 "[Profile1]\nDisplayName=Büro 2\nServer=2001:db8::1\nPassword=geheim\n"
                                 "AutoConnect=false\nDefaultProfile=true\n"
                                 "[Profile2]\nDisplayName=C\n"
                                 "[SystemDefault]\nProfile=Profile1\n";
const QByteArray ENDLESS_FILE = "[ProfileSummary]\nTotalProfile=3\n[Profile0]\nDisplayName=A\n"
                                "[Profile1]\nDisplayName=B\n";
const QByteArray DOUBLED_FILE = "[ProfileSummary]\nTotalProfile=2\n[Profile1]\nDisplayName=B\n"
                                "[Profile2]\nDisplayName=C\n[SystemDefault]\nProfile=Profile2\n";

struct Result
{
    int code = -1;
    std::string out;
    std::string err;
};

constexpr int TIMEOUT_MS = 600000;
const std::string STRANGERS_DAEMON = "The SIP daemon on /tmp/sipd_us belongs to another user: ";

class SipProfile : public DaemonTest, protected SettingsDirectory
{
protected:
    SipProfile() { writeFile(FILE_OF_THREE); }

    // prepare runs in the child; output is the file for the standard output, "" for a pipe.
    static Result run(const QStringList& arguments, const std::function<void()>& prepare = {},
                      const QString& output = QString())
    {
        QProcess process;
        process.setChildProcessModifier(prepare);
        if (!output.isEmpty())
            process.setStandardOutputFile(output);
        process.start(SIP_PROFILE, arguments);
        EXPECT_TRUE(process.waitForFinished(TIMEOUT_MS)) << qPrintable(arguments.join(' '));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return {process.exitCode(), process.readAllStandardOutput().toStdString(),
                process.readAllStandardError().toStdString()};
    }

    // Runs it with its standard error on a terminal, and returns what was written there.
    static std::string shownOnTerminal(const QStringList& arguments)
    {
        int mine = -1;
        int its = -1;
        EXPECT_EQ(openpty(&mine, &its, nullptr, nullptr, nullptr), 0);
        EXPECT_EQ(run(arguments, [its] { dup2(its, STDERR_FILENO); }).code, 0);
        close(its);
        std::string text;
        char buffer[256];
        for (ssize_t got = 0; (got = read(mine, buffer, sizeof buffer)) > 0;)
            text.append(buffer, static_cast<size_t>(got));
        close(mine);
        return text;
    }

    // In one step, as the store does.
    void replaceFile(const QByteArray& bytes) const
    {
        const QString other = file() + ".new";
        SettingsDirectory::writeFile(other, bytes);
        EXPECT_EQ(rename(qPrintable(other), qPrintable(file())), 0);
    }

    static void expectFailure(const QStringList& arguments, int code, const std::string& words)
    {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const Result result = run(arguments);
        EXPECT_EQ(result.code, code);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "sip-profile: " + words + "\n");
        const QJsonObject json = runJson(arguments, code);
        EXPECT_EQ(json["error"].toString().toStdString(), words);
    }

    static QJsonObject runJson(const QStringList& arguments, int code)
    {
        const Result result = run(QStringList("--json") + arguments);
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(result.out), &error);
        EXPECT_EQ(error.error, QJsonParseError::NoError) << result.out;
        EXPECT_EQ(result.code, code) << result.out;
        EXPECT_EQ(document.object()["exitCode"].toInt(-1), code);
        EXPECT_EQ(result.err, "");
        return document.object();
    }

    std::vector<std::string> requested(uint32_t request)
    {
        std::vector<std::string> names;
        for (const _SIPD_MSG_PROFILE_S& message : daemon().requests()) {
            if (message.request == request)
                names.emplace_back(message.name);
        }
        return names;
    }
};

TEST_F(SipProfile, ListsEachProfileWithoutItsPassword)
{
    const Result result = run({"list"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "Home    Profile0  sip.example.com:5070  anna\n"
                          "Büro 2  Profile1  [2001:db8::1]:5060          default\n"
                          "C       Profile2  :5060\n");
    EXPECT_EQ(result.err, "");

    const QJsonArray profiles = runJson({"list"}, 0)["profiles"].toArray();
    ASSERT_EQ(profiles.size(), 3);
    EXPECT_EQ(profiles[1].toObject(), QJsonObject({{"name", "Büro 2"},
                                                   {"group", "Profile1"},
                                                   {"server", "2001:db8::1"},
                                                   {"port", 5060},
                                                   {"user", ""},
                                                   {"default", true},
                                                   {"autoConnect", false}}));
}

TEST_F(SipProfile, ListsProfilesThatTheStoreDoesNotList)
{
    writeFile(DOUBLED_FILE);
    Result result = run({"list"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "B  Profile1  :5060\nC  Profile2  :5060    default\n");
    EXPECT_EQ(result.err, "") << "such numbers are ordinary";
    writeFile(ENDLESS_FILE);
    result = run({"list"});
    EXPECT_EQ(result.out, "A  Profile0  :5060\nB  Profile1  :5060\n");
    writeFile("oops\n" + DOUBLED_FILE);
    result = run({"list"});
    EXPECT_EQ(result.out, "B  Profile1  :5060\nC  Profile2  :5060    default\n");
    EXPECT_EQ(result.err, "sip-profile: The settings file needs repair: see sip-profile check.\n");
}

TEST_F(SipProfile, ListsNothingWithoutAFile)
{
    QFile::remove(file());
    EXPECT_EQ(run({"list"}).out, "");
    EXPECT_EQ(runJson({"list"}, 0)["profiles"].toArray().size(), 0);
    EXPECT_EQ(run({"check"}).code, 0);
}

TEST_F(SipProfile, PrintsNoControlCharacters)
{
    writeFile("[ProfileSummary]\nTotalProfile=1\n[Profile0]\nDisplayName=A\\n\\u001b[2J\\u202eB\n");
    EXPECT_EQ(run({"list"}).out, "A��[2J�B  Profile0  :5060\n");
    EXPECT_EQ(runJson({"list"}, 0)["profiles"][0]["name"].toString(),
              QString::fromUtf16(u"A\n\u001b[2J\u202eB"));
}

TEST_F(SipProfile, PrintsEveryStatus)
{
    play("admit");
    ASSERT_EQ(run({"connect", "Home"}).code, 0);
    const Result result = run({"status"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "Home    Profile0  connected\n"
                          "Büro 2  Profile1  not connected\n"
                          "C       Profile2  not connected\n");
    EXPECT_EQ(result.err, "");
    const QJsonArray profiles = runJson({"status"}, 0)["profiles"].toArray();
    ASSERT_EQ(profiles.size(), 3);
    EXPECT_EQ(profiles[0].toObject(), QJsonObject({{"name", "Home"},
                                                   {"group", "Profile0"},
                                                   {"connected", true},
                                                   {"status", 2},
                                                   {"message", "connected"}}));
    EXPECT_FALSE(profiles[1]["connected"].toBool(true));
}

TEST_F(SipProfile, ReturnsOneStatusAsItsExitCode)
{
    play("admit");
    ASSERT_EQ(run({"connect", "Profile1"}).code, 0);
    EXPECT_EQ(run({"status", "Büro 2"}).code, 0);
    EXPECT_EQ(run({"status", "Profile1"}).code, 0);
    const Result result = run({"status", "Home"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out, "Home  Profile0  not connected\n");
    EXPECT_FALSE(runJson({"status", "Home"}, 1).contains("error"));
}

TEST_F(SipProfile, TakesOnlyStatusTwoForConnected)
{
    for (const auto& [status, words] :
         {std::pair(1, "working on it"), std::pair(7, "not connected (status 7)")}) {
        play("status:" + std::to_string(status));
        const Result result = run({"status", "Home"});
        EXPECT_EQ(result.code, 1);
        EXPECT_THAT(result.out, HasSubstr(words));
        EXPECT_FALSE(runJson({"status", "Home"}, 1)["profiles"][0]["connected"].toBool(true));
    }
}

TEST_F(SipProfile, ConnectsAndDisconnectsByEitherName)
{
    play("admit");
    Result result = run({"connect", "Büro 2"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "“Büro 2” (Profile1): connected\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(run({"connect", "Profile2"}).out, "“C” (Profile2): connected\n");
    EXPECT_EQ(requested(PROFILE_CTRL_CONNECT), std::vector<std::string>({"Profile1", "Profile2"}));
    result = run({"disconnect", "Büro 2"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "“Büro 2” (Profile1): disconnected\n");
    EXPECT_EQ(requested(PROFILE_CTRL_DISCONNECT), std::vector<std::string>({"Profile1"}));
    EXPECT_EQ(runJson({"connect", "Home"}, 0), QJsonObject({{"name", "Home"},
                                                            {"group", "Profile0"},
                                                            {"ack", 0},
                                                            {"message", "connected"},
                                                            {"exitCode", 0}}));
    writeFile(ENDLESS_FILE);
    EXPECT_EQ(run({"connect", "B"}).out, "“B” (Profile1): connected\n");
}

TEST_F(SipProfile, ExplainsEachAckAndReturnsItsCode)
{
    const char* const words[] = {"the SIP daemon could not do it", "the SIP service is not available",
                                 "the profile is not right: server, port, user name or password",
                                 "the SIP server cannot be reached"};
    for (int ack = 1; ack <= 4; ++ack) {
        play("ack:" + std::to_string(ack));
        for (const char* command : {"connect", "disconnect"})
            expectFailure({command, "Home"}, 10 + ack, std::string("“Home” (Profile0): ") + words[ack - 1]);
        EXPECT_EQ(runJson({"connect", "Home"}, 10 + ack)["ack"].toInt(), ack);
    }
    play("ack:7");
    expectFailure({"connect", "Home"}, 4,
                  "“Home” (Profile0): the SIP daemon gave an answer without meaning (7)");
}

TEST_F(SipProfile, ReportsAMissingDaemon)
{
    const QList<QStringList> commands = {
        {"status"}, {"status", "Home"}, {"connect", "Home"}, {"disconnect", "C"}};
    for (const QStringList& command : commands)
        expectFailure(command, 4, "The SIP daemon is not running.");
    play("refuse");
    for (const QStringList& command : commands)
        expectFailure(command, 4, "The SIP daemon refuses to answer.");
    play("reset");
    for (const QStringList& command : commands)
        expectFailure(command, 4, "The connection to the SIP daemon was lost.");
    play("close-after:20");
    expectFailure({"connect", "Home"}, 4, "The connection to the SIP daemon was lost.");
}

TEST_F(SipProfile, RefusesAnotherUsersDaemonAtOnce)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    for (const auto part : {StrangerAtSocket::Both, StrangerAtSocket::File, StrangerAtSocket::Process}) {
        SCOPED_TRACE(part);
        const StrangerAtSocket stranger(part);
        for (const QStringList& command :
             {QStringList{"status"}, {"status", "Home"}, {"connect", "Home"}, {"disconnect", "C"}})
            expectFailure(command, 7, STRANGERS_DAEMON + StrangerAtSocket::NAME + ".");
        EXPECT_EQ(run({"list"}).code, 0) << "which asks no daemon";
    }
}

// The command looks before it connects, and again at the connection.
TEST_F(SipProfile, RefusesAUserWhoTakesTheSocketAfterItsFirstLook)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, SIPD_SOCKET_PATH);
    const FileDescriptor daemon(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(bind(daemon.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(listen(daemon.get(), 0), 0); // the first look fills the queue
    std::thread taker([&daemon] {
        pollfd looked = {daemon.get(), POLLIN, 0};
        poll(&looked, 1, TIMEOUT_MS);
        // Of this thread only. The kernel notes the user who calls listen().
        syscall(SYS_setresuid, -1, StrangerAtSocket::USER, -1);
        listen(daemon.get(), SOMAXCONN);
        const FileDescriptor look(accept(daemon.get(), nullptr, nullptr));
        const FileDescriptor client(accept(daemon.get(), nullptr, nullptr));
        const std::string ack = encodeAck(SIPD_ACK_SUCCESS);
        send(client.get(), ack.data(), ack.size(), MSG_NOSIGNAL);
        shutdown(client.get(), SHUT_WR);
        char byte = 0;
        while (recv(client.get(), &byte, 1, 0) > 0)
            ;
    });
    const Result result = run({"status"});
    EXPECT_EQ(result.code, 7);
    EXPECT_EQ(result.err, "sip-profile: " + STRANGERS_DAEMON + StrangerAtSocket::NAME + ".\n");
    taker.join();
    unlink(SIPD_SOCKET_PATH);
}

TEST_F(SipProfile, TellsAnotherUserWhoHasTheDaemon)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    if (runUnprivileged(directory(), [] { return access(SIP_PROFILE, X_OK) == 0 ? 0 : 1; }) != 0)
        GTEST_SKIP() << "another user cannot run " << SIP_PROFILE;
    const auto becomeNobody = [] {
        if (setgid(StrangerAtSocket::USER) != 0 || setuid(StrangerAtSocket::USER) != 0)
            _exit(UNPRIVILEGED_FAILED);
    };
    play("refuse"); // as sipd does
    for (const mode_t mode : {0600, 0666}) {
        ASSERT_EQ(chmod(SIPD_SOCKET_PATH, mode), 0);
        const Result result = run({"status"}, becomeNobody);
        EXPECT_EQ(result.code, 7) << std::oct << mode;
        EXPECT_EQ(result.err, "sip-profile: " + STRANGERS_DAEMON + "root.\n");
    }
    stopDaemon();
    EXPECT_EQ(run({"status"}, becomeNobody).err, "sip-profile: The SIP daemon is not running.\n");
}

TEST_F(SipProfile, AsksNothingForAnUnknownOrAmbiguousName)
{
    play("admit");
    writeFile("[ProfileSummary]\nTotalProfile=4\n[Profile0]\nDisplayName=A\n[Profile1]\nDisplayName=B\n"
              "[Profile2]\nDisplayName=A\n[Profile3]\nDisplayName=Profile1\n");
    expectFailure({"connect", "a"}, 3, "There is no profile “a”.");
    expectFailure({"status", "Profile4"}, 3, "There is no profile “Profile4”.");
    expectFailure({"connect", "A"}, 3,
                  "“A” may be “A” (Profile0) or “A” (Profile2): say it by the name that no other has.");
    expectFailure(
        {"connect", "Profile1"}, 3,
        "“Profile1” may be “B” (Profile1) or “Profile1” (Profile3): say it by the name that no other "
        "has.");
    EXPECT_EQ(run({"connect", "Profile2"}).code, 0);
    writeFile("[ProfileSummary]\nTotalProfile=1\n[Profile0]\nDisplayName=\nServer=s\n");
    for (const char* command : {"status", "connect", "disconnect"})
        expectFailure({command, ""}, 3, "There is no profile “”.");
    EXPECT_EQ(run({"connect", "Profile0"}).code, 0);
    EXPECT_EQ(requested(PROFILE_CTRL_CONNECT), std::vector<std::string>({"Profile2", "Profile0"}));
}

TEST_F(SipProfile, PrintsTheStatusOfTheFileAtTheEnd)
{
    int queries = 0;
    ScriptedDaemon swapping(*findScenario("status:2"), [&](int, const SipdMessage& message) {
        if (message.type == SIPD_MSG_PROFILE && ++queries == 1)
            replaceFile("[Profile0]\nDisplayName=C\n[Profile1]\nDisplayName=Home\n");
    });
    ASSERT_EQ(swapping.start(), "");
    EXPECT_THAT(run({"status"}).out, HasSubstr("C     Profile0  connected\nHome  Profile1  connected\n"));
    writeFile(FILE_OF_THREE);
    queries = 0;
    EXPECT_EQ(run({"status", "Home"}).out, "Home  Profile1  connected\n");
}

TEST_F(SipProfile, GivesUpOnAFileThatAlwaysChanges)
{
    int queries = 0;
    ScriptedDaemon swapping(*findScenario("status:2"), [&](int, const SipdMessage& message) {
        if (message.type == SIPD_MSG_PROFILE)
            replaceFile("[Profile0]\nDisplayName=Home\nPortNum=" + QByteArray::number(++queries) + '\n');
    });
    ASSERT_EQ(swapping.start(), "");
    expectFailure({"status"}, 5, "The settings file changes all the time.");
    expectFailure({"status", "Home"}, 5, "The settings file changes all the time.");
}

TEST_F(SipProfile, AsksForTheNumberAfterTheWait)
{
    ScriptedDaemon swapping(Scenario(), [&](int, const SipdMessage& message) {
        if (message.type == SIPD_MSG_REGISTER)
            replaceFile("[Profile0]\nDisplayName=C\n[Profile1]\nDisplayName=Home\n");
    });
    ASSERT_EQ(swapping.start(), "");
    for (const char* command : {"connect", "disconnect"}) {
        writeFile(FILE_OF_THREE);
        EXPECT_EQ(run({command, "Home"}).code, 0);
        EXPECT_STREQ(swapping.requests().back().name, "Profile1") << command;
    }
    writeFile(FILE_OF_THREE);
    EXPECT_EQ(run({"connect", "Büro 2"}).code, 3) << "it is gone";
}

TEST_F(SipProfile, TakesAnyNameAfterTwoDashes)
{
    writeFile("[ProfileSummary]\nTotalProfile=1\n[Profile0]\nDisplayName=--json\n");
    play("admit");
    EXPECT_EQ(run({"connect", "--", "--json"}).out, "“--json” (Profile0): connected\n");
}

TEST_F(SipProfile, ShowsItsProgressOnlyOnATerminal)
{
    play("late:1300");
    EXPECT_THAT(shownOnTerminal({"connect", "Home"}),
                testing::MatchesRegex("\rConnecting “Home” \\(Profile0\\) \\.\\.\\."
                                      "(\rConnecting “Home” \\(Profile0\\) \\.\\.\\. [0-9]+ s)+\r\033\\[K"));
    EXPECT_EQ(shownOnTerminal({"--json", "disconnect", "Home"}), "");
}

TEST_F(SipProfile, PrintsDiagnosticsOnlyOnDemand)
{
    play("admit");
    EXPECT_EQ(run({"status"}).err, "");
    EXPECT_THAT(run({"-v", "status"}).err, HasSubstr("{4} SIP_COMM_Channel.cpp"));
    stopDaemon();
    EXPECT_THAT(run({"--verbose", "status"}).err, HasSubstr("connect fail path /tmp/sipd_us"));
}

TEST_F(SipProfile, ReturnsTheResultOfACheckAsItsExitCode)
{
    Result result = run({"check"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "Nothing is wrong with " + file().toStdString() + ".\n");
    EXPECT_EQ(
        runJson({"check"}, 0),
        QJsonObject({{"file", file()}, {"findings", QJsonArray()}, {"loadEnds", true}, {"exitCode", 0}}));
    writeFile(ENDLESS_FILE);
    result = run({"check"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out, "The list of profiles never opens: it searches from Profile2 on without end.\n"
                          "The settings file counts 3 profiles and holds 2.\n");
    const QJsonObject json = runJson({"check"}, 1);
    EXPECT_FALSE(json["loadEnds"].toBool(true));
    EXPECT_EQ(json["findings"][0]["kind"].toString(), "endless");
    EXPECT_EQ(json["findings"][1]["kind"].toString(), "wrong-count");
    EXPECT_EQ(readFile(), ENDLESS_FILE);
    writeFile("[ProfileSummary]\nTotalProfile=1\n[Profile0]\nDisplayName=A\nDefaultProfile=true\n");
    EXPECT_EQ(run({"check"}).out,
              "“A” (Profile0) is marked as the default, but the settings file does not name it.\n");
    EXPECT_EQ(runJson({"check"}, 1)["findings"][0]["kind"].toString(), "wrong-default");
}

TEST_F(SipProfile, RepairsNothingBesideAnOpenPhone)
{
    writeFile(DOUBLED_FILE);
    {
        SettingsHostLock phone;
        ASSERT_EQ(phone.hold(), SettingsHostLock::Held);
        const Result result = run({"repair"});
        EXPECT_EQ(result.code, 5);
        EXPECT_EQ(result.err, "sip-profile: A phone has the profiles open. Close it, then try again.\n");
        EXPECT_EQ(readFile(), DOUBLED_FILE);
    }
    EXPECT_EQ(run({"repair"}).code, 0);
}

TEST_F(SipProfile, RepairsTheFileAndKeepsACopy)
{
    writeFile(DOUBLED_FILE);
    const Result result = run({"repair"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "“C” (Profile2) is not listed.\n“B” (Profile1) is listed 2 times.\n"
                          "There is Profile1, but no Profile0.\n"
                          "“C” (Profile2) is named as the default, but no profile is marked as it.\n"
                          "Repaired. The old file is kept as " +
                              file().toStdString() + ".old.\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(readFile(file() + ".old"), DOUBLED_FILE);
    EXPECT_EQ(run({"list"}).out, "B  Profile0  :5060\nC  Profile1  :5060    default\n");
    const QByteArray repaired = readFile();
    EXPECT_EQ(run({"repair"}).out, "Nothing is wrong with " + file().toStdString() + ".\n");
    EXPECT_FALSE(runJson({"repair"}, 0)["repaired"].toBool(true));
    EXPECT_EQ(readFile(), repaired);
    writeFile(DOUBLED_FILE);
    const QJsonObject json = runJson({"repair"}, 0);
    EXPECT_TRUE(json["repaired"].toBool());
    EXPECT_EQ(json["copy"].toString(), file() + ".old");
    EXPECT_EQ(json["findings"].toArray().size(), 4);
}

TEST_F(SipProfile, RepairsTheFileWithoutTheDaemon)
{
    for (const char* scenario : {"status:1", "status:2", "disconnect-ack:1", "refuse", "reset", "silent"}) {
        SCOPED_TRACE(scenario);
        writeFile(DOUBLED_FILE);
        play(scenario);
        EXPECT_EQ(run({"repair"}).code, 0);
        EXPECT_NE(readFile(), DOUBLED_FILE);
        EXPECT_EQ(daemon().accepted(), 0);
    }
}

TEST_F(SipProfile, ReportsAnUnreadableFile)
{
    QFile::remove(file());
    ASSERT_TRUE(QDir().mkpath(file()));
    for (const QStringList& command :
         QList<QStringList>{{"list"}, {"status"}, {"status", "A"}, {"connect", "A"}, {"check"}, {"repair"}})
        expectFailure(command, 5, "The settings file cannot be read (it is no file): no profile is listed.");
}

TEST_F(SipProfile, ReportsAFullOutput)
{
    const Result result = run({"list"}, {}, "/dev/full");
    EXPECT_EQ(result.code, 5);
    EXPECT_EQ(result.err, "sip-profile: The output cannot be written.\n");
}

TEST_F(SipProfile, RefusesWrongUsage)
{
    for (const char* line : {"", "lists", "list A", "status A B", "connect", "disconnect", "connect A B",
                             "check A", "repair A", "list --jason", "-x"}) {
        const QStringList arguments = QString(line).split(' ', Qt::SkipEmptyParts);
        SCOPED_TRACE(line);
        const Result result = run(arguments);
        EXPECT_EQ(result.code, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, HasSubstr("See sip-profile --help.\n"));
        EXPECT_NE(runJson(arguments, 2)["error"].toString(), "");
    }
}

TEST_F(SipProfile, ExplainsItself)
{
    const Result help = run({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_EQ(help.err, "");
    for (const char* word : {"list", "status [NAME]", "connect NAME", "disconnect NAME", "check", "repair",
                             "--json", "not while a phone has the profiles open"})
        EXPECT_THAT(help.out, HasSubstr(word));
    EXPECT_EQ(run({"repair", "--help"}).out, help.out);
    EXPECT_THAT(run({"--version"}).out, testing::MatchesRegex("sip-profile [0-9.]+\n"));
}

} // namespace
