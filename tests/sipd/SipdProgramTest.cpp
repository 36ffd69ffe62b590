// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The daemon as a program: its options, its socket, its end.

#include "ChildProcess.h"
#include "Programs.h"
#include "Sanitizers.h"
#include "SipdProcess.h"
#include "TestRegistrar.h"

#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

using testing::HasSubstr;
using testing::StartsWith;

namespace {

class SipdProgram : public SipdTest
{
protected:
    static std::pair<std::string, int> outcomeWith(std::vector<std::string> options)
    {
        options.insert(options.begin(), SIPD);
        return outcomeOf(options);
    }
};

} // namespace

TEST_F(SipdProgram, ExplainsItself)
{
    EXPECT_THAT(outcomeWith({"--help"}), testing::Pair(StartsWith("usage: sipd [OPTION]..."), 0));
    EXPECT_THAT(outcomeWith({"--version"}), testing::Pair("sipd " ORMU_VERSION "\n", 0));
    EXPECT_THAT(outcomeWith({"--nonsense"}), testing::Pair(HasSubstr("usage: sipd"), 2));
    EXPECT_THAT(outcomeWith({"word"}), testing::Pair(StartsWith("usage: sipd"), 2));
    for (const char* seconds : {"0", "-1", "x", "", "86401", "60s"})
        EXPECT_THAT(outcomeWith({"--expires", seconds}), testing::Pair(HasSubstr("1 to 86400"), 2));
    EXPECT_THAT(outcomeWith({"--ca-file", "/no/such"}),
                testing::Pair("sipd: /no/such: No such file or directory\n", 1));
    EXPECT_FALSE(socketExists());
}

TEST_F(SipdProgram, CreatesItsSocketWithMode0600)
{
    startDaemon({}, {"/bin/sh", "-c", "umask 0; exec \"$0\" \"$@\""});
    struct stat status;
    ASSERT_EQ(stat(SIPD_SOCKET_PATH, &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFSOCK | 0600));
    stopDaemon();
    EXPECT_FALSE(socketExists());
}

TEST_F(SipdProgram, StartsOnceWhenManyStartAtOnce)
{
    close(bindSocket(SIPD_SOCKET_PATH, false));
    std::vector<std::unique_ptr<ChildProgram>> programs;
    for (int i = 0; i < 8; ++i)
        programs.push_back(std::make_unique<ChildProgram>(std::vector<std::string>{SIPD}));
    int listening = 0;
    for (const auto& program : programs)
        listening += program->readLine() == "listening on " SIPD_SOCKET_PATH ? 1 : 0;
    EXPECT_EQ(listening, 1);
    EXPECT_EQ(statusOf("Profile0"), 0U);
    for (const auto& program : programs)
        program->signal(SIGTERM);
    for (const auto& program : programs)
        program->wait();
    EXPECT_FALSE(socketExists());
}

TEST_F(SipdProgram, ReplacesTheSocketOfAKilledDaemon)
{
    startDaemon();
    daemon().signal(SIGKILL);
    EXPECT_EQ(daemon().wait(), -SIGKILL);
    ASSERT_TRUE(socketExists());
    startDaemon();
    EXPECT_EQ(statusOf("Profile0"), 0U);
}

TEST_F(SipdProgram, KeepsAFileInTheSocketsPlace)
{
    std::ofstream(SIPD_SOCKET_PATH) << "mine";
    EXPECT_EQ(outcomeWith({}),
              std::pair(std::string("sipd: " SIPD_SOCKET_PATH " is there and is not a socket\n"), 1));
    std::string text;
    std::ifstream(SIPD_SOCKET_PATH) >> text;
    EXPECT_EQ(text, "mine");
    unlink(SIPD_SOCKET_PATH);
}

TEST_F(SipdProgram, ServesTheSocketOfAServiceManager)
{
    const int fd = bindSocket();
    startWithSocket(fd);
    close(fd);
    EXPECT_EQ(statusOf("Profile0"), 0U);
    EXPECT_EQ(statusOf("Profile0"), 0U);
    stopDaemon();
    EXPECT_TRUE(socketExists()) << "it is the service manager's";
    unlink(SIPD_SOCKET_PATH);
}

TEST_F(SipdProgram, RefusesAPassedSocketThatDoesNotListen)
{
    const int fd = bindSocket(SIPD_SOCKET_PATH, false);
    ChildProgram program(
        {"/bin/sh", "-c",
         std::string("LISTEN_PID=$$ LISTEN_FDS=1 exec ") + SIPD + " 3<&" + std::to_string(fd)});
    EXPECT_EQ(program.readRest(),
              "sipd: what the service manager handed over is no listening local stream socket\n");
    EXPECT_EQ(program.wait(), 1);
    close(fd);
    unlink(SIPD_SOCKET_PATH);
}

TEST_F(SipdProgram, CreatesASocketWhenNoneIsPassed)
{
    for (const char* passed : {"LISTEN_PID=$$ LISTEN_FDS=0", "LISTEN_PID=1 LISTEN_FDS=1"}) {
        startDaemon({}, {"/bin/sh", "-c", passed + std::string(" exec \"$0\" \"$@\"")});
        EXPECT_EQ(statusOf("Profile0"), 0U) << passed;
        stopDaemon();
    }
}

TEST_F(SipdProgram, RefusesAnotherUsersProcess)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    const int fd = bindSocket();
    ASSERT_EQ(chmod(SIPD_SOCKET_PATH, 0666), 0);
    startWithSocket(fd);
    close(fd);
    const int foreign = runInChild([] {
        constexpr uid_t nobody = 65534;
        if (setuid(nobody) != 0)
            return 100;
        SipdClient client;
        const uint32_t ack = client.introduce();
        return ack == SIPD_ACK_FAILED && client.isClosedByDaemon() ? 0 : 1;
    });
    EXPECT_EQ(foreign, 0);
    EXPECT_EQ(SipdClient().introduce(), SIPD_ACK_SUCCESS);
    stopDaemon();
    unlink(SIPD_SOCKET_PATH);
}

TEST_F(SipdProgram, UnregistersWhenASignalEndsIt)
{
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        TestRegistrar registrar;
        writeProfile("Profile0", {.port = registrar.port()});
        writeProfile("Profile1", {.port = registrar.port(), .user = "bert"});
        startDaemon();
        EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
        EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_SUCCESS);
        EXPECT_EQ(registrar.contacts().size(), 2U);
        daemon().signal(signal);
        EXPECT_EQ(daemon().wait(), 0);
        EXPECT_EQ(registrar.contacts().size(), 0U);
        EXPECT_FALSE(socketExists());
    }
}

TEST_F(SipdProgram, KeepsItsMemoryPrivateAndLeavesNoCore)
{
    if (hasAddressSanitizer())
        GTEST_SKIP() << "the leak sanitizer reads its memory";
    // In /proc, unreadable files belong to root, and so do all files of root's processes.
    const auto wrapper = asNobody();
    if (geteuid() == 0 && !wrapper)
        GTEST_SKIP() << "nobody else may execute the daemon here";
    startDaemon({}, wrapper.value_or(std::vector<std::string>{}));
    const std::string process = "/proc/" + std::to_string(SipdClient().daemon());
    struct stat status;
    ASSERT_EQ(stat((process + "/environ").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 0U);
    std::ifstream limits(process + "/limits");
    const std::string text{std::istreambuf_iterator<char>(limits), {}};
    EXPECT_THAT(text, testing::ContainsRegex("Max core file size +0 +0 "));
}

TEST_F(SipdProgram, LogsInTheLibrarysFormatAndNoPassword)
{
    TestRegistrar registrar;
    registrar.setAccount({"anna", "Geheim:4711"});
    writeProfile("Profile0", {.port = registrar.port(), .password = "Geheim:4711"});
    writeProfile("Profile1", {.port = registrar.port(), .password = "GeheimFalsch"});
    writeProfile("Profile2", {.server = "Geheim Falsch"});
    startDaemon({"-v"});
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_INCORRECT_PROFILE);
    EXPECT_EQ(connectProfile("Profile2"), SIPD_ACK_INCORRECT_PROFILE);
    EXPECT_EQ(connectProfile("Profile3"), SIPD_ACK_INCORRECT_PROFILE);
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    daemon().signal(SIGTERM);
    EXPECT_EQ(daemon().wait(), 0);
    const std::string log = daemon().log();
    EXPECT_THAT(log, HasSubstr("Profile0 is registered with 127.0.0.1"));
    EXPECT_THAT(log, testing::Not(HasSubstr("Geheim")));
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);)
        EXPECT_THAT(line, testing::MatchesRegex(
                              "\\{[14]\\} [A-Za-z]+\\.cpp:[0-9]+(, [A-Za-z]+\\(\\))?[[:space:]].+"));
}
