// The daemon's socket file: removed, replaced, or another user's.

#include "ChildProcess.h"
#include "SipdProcess.h"
#include "TestRegistrar.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;
using testing::HasSubstr;

namespace {

constexpr uid_t nobody = 65534;
constexpr auto timeout = 2min;
constexpr char alreadyListening[] = "sipd: a daemon is already listening on " SIPD_SOCKET_PATH "\n";

class SocketPlace : public SipdTest
{
protected:
    static std::pair<std::string, int> outcomeOf(const std::vector<std::string>& command)
    {
        ChildProgram program(command);
        std::string output = program.readRest();
        return {output, program.wait()};
    }
    static int bindSocket(const std::string& path)
    {
        const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        EXPECT_EQ(listen(fd, 5), 0);
        return fd;
    }
    static bool isThere() { return access(SIPD_SOCKET_PATH, F_OK) == 0; }
    static bool isReached()
    {
        SipdClient client;
        return client.isConnected() && client.introduce() == SIPD_ACK_SUCCESS;
    }
    bool says(const std::string& text) const { return daemon().log().find(text) != std::string::npos; }
    std::string elsewhere() const { return directory().toStdString() + "/elsewhere"; }

    // Another user with the socket's place, as long as it lives.
    class Stranger
    {
    public:
        explicit Stranger(const std::function<int()>& work)
            : process_(startChild([&work] {
                  if (setgid(nobody) != 0 || setuid(nobody) != 0)
                      return 1;
                  const int fd = work();
                  pause();
                  return fd;
              }))
        {
        }
        ~Stranger()
        {
            kill(process_, SIGKILL);
            waitForChild(process_);
            unlink(SIPD_SOCKET_PATH);
        }

    private:
        const pid_t process_;
    };
};

// Only root can become another user.
class StrangersPlace : public SocketPlace
{
protected:
    void SetUp() override
    {
        if (geteuid() != 0)
            GTEST_SKIP() << "only root can become another user";
        SocketPlace::SetUp();
    }
};

} // namespace

TEST_F(SocketPlace, ItsFileIsMadeAnewWhenItIsRemoved)
{
    TestRegistrar registrar;
    writeProfile("Profile0", {.port = registrar.port()});
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(unlink(SIPD_SOCKET_PATH), 0);
        ASSERT_TRUE(waitUntil(isReached, timeout));
        EXPECT_EQ(statusOf("Profile0"), 2U);
    }
    struct stat status;
    ASSERT_EQ(stat(SIPD_SOCKET_PATH, &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFSOCK | 0600));
    stopDaemon();
    EXPECT_FALSE(isThere());
}

TEST_F(SocketPlace, ItsFileIsMadeAnewWhenItIsMovedAway)
{
    startDaemon();
    const std::string away = SIPD_SOCKET_PATH ".away";
    ASSERT_EQ(rename(SIPD_SOCKET_PATH, away.c_str()), 0);
    ASSERT_TRUE(waitUntil(isReached, timeout));
    ASSERT_EQ(rename(away.c_str(), SIPD_SOCKET_PATH), 0);
    EXPECT_TRUE(waitUntil(isReached, timeout)) << "and when a dead one takes its place";
}

TEST_F(SocketPlace, AClientThatWaitsAtTheRemovedFileIsServed)
{
    startDaemon();
    const SipdClient first;
    const pid_t process = first.daemon();
    kill(process, SIGSTOP);
    SipdClient waiting;
    unlink(SIPD_SOCKET_PATH);
    kill(process, SIGCONT);
    EXPECT_EQ(waiting.introduce(), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(waitUntil(isReached, timeout));
}

TEST_F(SocketPlace, ASecondOneRefusesWhileTheFileIsAway)
{
    startDaemon();
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
        EXPECT_EQ(outcomeOf(command), std::pair(std::string(alreadyListening), 1));
        EXPECT_FALSE(isThere());
        command.emplace_back("--keep-running");
        EXPECT_EQ(outcomeOf(command), std::pair(std::string(alreadyListening), 1));
        kill(process, SIGCONT);
        EXPECT_TRUE(waitUntil(isReached, timeout));
    }
}

TEST_F(SocketPlace, WhatTakesItsPlaceIsLeftAloneUntilItGoes)
{
    startDaemon();
    const int other = bindSocket(elsewhere());
    ASSERT_EQ(rename(elsewhere().c_str(), SIPD_SOCKET_PATH), 0);
    EXPECT_TRUE(waitUntil([this] { return says("nobody reaches the daemon"); }, timeout));
    stopDaemon();
    EXPECT_TRUE(isThere()) << "it is another's";
    unlink(SIPD_SOCKET_PATH);
    close(other);

    startDaemon();
    std::ofstream(elsewhere()) << "mine";
    ASSERT_EQ(rename(elsewhere().c_str(), SIPD_SOCKET_PATH), 0);
    EXPECT_TRUE(waitUntil([this] { return says("is not a socket"); }, timeout));
    unlink(SIPD_SOCKET_PATH);
    EXPECT_TRUE(waitUntil(isReached, timeout));
}

TEST_F(SocketPlace, AHandedOverSocketsFileIsMadeAnew)
{
    const int fd = bindSocket(SIPD_SOCKET_PATH);
    startDaemon({},
                {"/bin/sh", "-c", "LISTEN_PID=$$ LISTEN_FDS=1 exec \"$0\" \"$@\" 3<&" + std::to_string(fd)});
    EXPECT_TRUE(isReached());
    unlink(SIPD_SOCKET_PATH);
    EXPECT_TRUE(waitUntil(isReached, timeout));
    close(fd);
}

TEST_F(SocketPlace, ALockOnTheDirectoryIsNobodysHindrance)
{
    const int directory = open("/tmp", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(directory, LOCK_EX), 0);
    startDaemon();
    EXPECT_TRUE(isReached());
    stopDaemon();
    close(directory);
}

TEST_F(StrangersPlace, AnotherUsersSocketIsRefusedWithItsOwner)
{
    const Stranger stranger([] { return bindSocket(SIPD_SOCKET_PATH); });
    ASSERT_TRUE(waitUntil(isThere, timeout));
    const auto refusal = std::pair(std::string("sipd: " SIPD_SOCKET_PATH " belongs to user nobody\n"), 1);
    EXPECT_EQ(outcomeOf({SIPD}), refusal);
    EXPECT_EQ(outcomeOf({SIPD, "--keep-running"}), refusal);
    EXPECT_TRUE(isThere());
}

TEST_F(StrangersPlace, AnotherUsersListenerIsRefusedWhoeverOwnsTheFile)
{
    const Stranger stranger([] { return bindSocket(SIPD_SOCKET_PATH); });
    ASSERT_TRUE(waitUntil([] { return SipdClient().isConnected(); }, timeout));
    ASSERT_EQ(chown(SIPD_SOCKET_PATH, 0, 0), 0);
    EXPECT_EQ(outcomeOf({SIPD}),
              std::pair(std::string("sipd: user nobody is listening on " SIPD_SOCKET_PATH "\n"), 1));
}

TEST_F(StrangersPlace, AnotherUsersLinkIsRefusedWithItsOwner)
{
    const Stranger stranger([] { return symlink("/dev/null", SIPD_SOCKET_PATH); });
    ASSERT_TRUE(waitUntil(isThere, timeout));
    EXPECT_EQ(outcomeOf({SIPD}),
              std::pair(std::string("sipd: " SIPD_SOCKET_PATH " belongs to user nobody\n"), 1));
}

TEST_F(StrangersPlace, AUserWithoutAPrivateDirectoryHasADaemonToo)
{
    const auto wrapper = asNobody();
    if (!wrapper)
        GTEST_SKIP() << "nobody else may execute the daemon here";
    startDaemon({}, *wrapper);
    ASSERT_THAT(daemon().log(), HasSubstr("no directory for a lock"));
    std::vector<std::string> second = *wrapper;
    second.emplace_back(SIPD);
    const auto [output, status] = outcomeOf(second);
    EXPECT_THAT(output, HasSubstr(alreadyListening));
    EXPECT_EQ(status, 1);
}
