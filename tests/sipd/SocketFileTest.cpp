// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The daemon's socket file: removed, replaced, or another user's.

#include "Programs.h"
#include "SipdProcess.h"
#include "StrangerAtSocket.h"
#include "TestRegistrar.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using testing::HasSubstr;

namespace {

const auto ALREADY_LISTENING =
    std::pair(std::string("sipd: a daemon is already listening on " SIPD_SOCKET_PATH "\n"), 1);

class SocketFile : public SipdTest
{
protected:
    // Waits for a daemon at the socket file.
    static bool waitUntilServed() { return waitUntil(isServed); }
    std::string elsewhere() const { return directory().toStdString() + "/elsewhere"; }
};

// Only root can become another user.
class StrangersSocketFile : public SocketFile
{
protected:
    void SetUp() override
    {
        if (geteuid() != 0)
            GTEST_SKIP() << "only root can become another user";
        SocketFile::SetUp();
    }
};

} // namespace

TEST_F(SocketFile, IsMadeAgainWhenItIsRemoved)
{
    TestRegistrar registrar;
    writeProfile("Profile0", {.port = registrar.port()});
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(unlink(SIPD_SOCKET_PATH), 0);
        ASSERT_TRUE(waitUntilServed());
        EXPECT_EQ(statusOf("Profile0"), 2U);
    }
    struct stat status;
    ASSERT_EQ(stat(SIPD_SOCKET_PATH, &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFSOCK | 0600));
    stopDaemon();
    EXPECT_FALSE(socketExists());
}

TEST_F(SocketFile, IsMadeAgainWhenItIsMovedAway)
{
    startDaemon();
    const std::string away = SIPD_SOCKET_PATH ".away";
    ASSERT_EQ(rename(SIPD_SOCKET_PATH, away.c_str()), 0);
    ASSERT_TRUE(waitUntilServed());
    ASSERT_EQ(rename(away.c_str(), SIPD_SOCKET_PATH), 0);
    EXPECT_TRUE(waitUntilServed()) << "and when a dead one takes its place";
}

TEST_F(SocketFile, StillServesAClientThatWaitsWhenItIsRemoved)
{
    startDaemon();
    const SipdClient first;
    const pid_t process = first.daemon();
    kill(process, SIGSTOP);
    SipdClient waiting;
    unlink(SIPD_SOCKET_PATH);
    kill(process, SIGCONT);
    EXPECT_EQ(waiting.introduce(), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(waitUntilServed());
}

TEST_F(SocketFile, KeepsASecondDaemonFromStartingAlsoWhenItIsRemoved)
{
    startDaemon();
    EXPECT_EQ(outcomeOf({SIPD}), ALREADY_LISTENING) << "while the file is there";
    const pid_t process = SipdClient().daemon();
    for (const std::vector<std::string>& environment :
         std::vector<std::vector<std::string>>{{},
                                               {"HOME=/nonexistent"},
                                               {"XDG_RUNTIME_DIR=/tmp", "XDG_STATE_HOME=/tmp", "TMPDIR=/tmp"},
                                               {"ORMU_SETTING_DIR=/tmp"}}) {
        kill(process, SIGSTOP);
        unlink(SIPD_SOCKET_PATH);
        std::vector<std::string> command = {"/usr/bin/env"};
        command.insert(command.end(), environment.begin(), environment.end());
        command.emplace_back(SIPD);
        EXPECT_EQ(outcomeOf(command), ALREADY_LISTENING);
        EXPECT_FALSE(socketExists());
        command.emplace_back("--keep-running");
        EXPECT_EQ(outcomeOf(command), ALREADY_LISTENING);
        kill(process, SIGCONT);
        EXPECT_TRUE(waitUntilServed());
    }
}

TEST_F(SocketFile, IsMadeAgainWhenTheFileInItsPlaceIsRemoved)
{
    startDaemon();
    const int other = bindSocket(elsewhere());
    ASSERT_EQ(rename(elsewhere().c_str(), SIPD_SOCKET_PATH), 0);
    EXPECT_TRUE(waitUntil([this] { return logContains("nobody reaches the daemon"); }));
    stopDaemon();
    EXPECT_TRUE(socketExists()) << "it is another's";
    unlink(SIPD_SOCKET_PATH);
    close(other);

    startDaemon();
    std::ofstream(elsewhere()) << "mine";
    ASSERT_EQ(rename(elsewhere().c_str(), SIPD_SOCKET_PATH), 0);
    EXPECT_TRUE(waitUntil([this] { return logContains("is not a socket"); }));
    unlink(SIPD_SOCKET_PATH);
    EXPECT_TRUE(waitUntilServed());
}

TEST_F(SocketFile, OfAServiceManagerIsMadeAgainWhenItIsRemoved)
{
    const int fd = bindSocket(SIPD_SOCKET_PATH);
    startWithSocket(fd);
    EXPECT_TRUE(isServed());
    unlink(SIPD_SOCKET_PATH);
    EXPECT_TRUE(waitUntilServed());
    close(fd);
}

TEST_F(SocketFile, IsMadeInALockedDirectory)
{
    const int directory = open("/tmp", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(directory, LOCK_EX), 0);
    startDaemon();
    EXPECT_TRUE(isServed());
    stopDaemon();
    close(directory);
}

TEST_F(StrangersSocketFile, KeepsTheDaemonFromStarting)
{
    const std::string ownerRefused = "sipd: " SIPD_SOCKET_PATH " belongs to user nobody\n";
    const std::string listenerRefused = "sipd: user nobody is listening on " SIPD_SOCKET_PATH "\n";
    for (const auto part : {StrangerAtSocket::Both, StrangerAtSocket::File, StrangerAtSocket::Process}) {
        const StrangerAtSocket stranger(part);
        const auto refusal = std::pair(part == StrangerAtSocket::Process ? listenerRefused : ownerRefused, 1);
        EXPECT_EQ(outcomeOf({SIPD}), refusal);
        EXPECT_EQ(outcomeOf({SIPD, "--keep-running"}), refusal);
        EXPECT_TRUE(socketExists());
    }
    ASSERT_EQ(symlink("/dev/null", SIPD_SOCKET_PATH), 0);
    ASSERT_EQ(lchown(SIPD_SOCKET_PATH, StrangerAtSocket::USER, StrangerAtSocket::USER), 0);
    EXPECT_EQ(outcomeOf({SIPD}), std::pair(ownerRefused, 1)) << "a link";
    unlink(SIPD_SOCKET_PATH);
}

TEST_F(SocketFile, IsMadeForAUserWithoutAPrivateDirectory)
{
    const auto wrapper = asNobody();
    if (!wrapper)
        GTEST_SKIP() << "nobody else may execute the daemon here";
    startDaemon({}, *wrapper);
    ASSERT_THAT(daemon().log(), HasSubstr("no directory for a lock"));
    std::vector<std::string> second = *wrapper;
    second.emplace_back(SIPD);
    const auto [output, status] = outcomeOf(second);
    EXPECT_THAT(output, HasSubstr(ALREADY_LISTENING.first));
    EXPECT_EQ(status, 1);
}
