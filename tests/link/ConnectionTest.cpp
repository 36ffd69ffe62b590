// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// A channel's connection, and its effects on the process.

#include "DaemonAddress.h"
#include "LinkTest.h"

#include <array>
#include <atomic>
#include <fstream>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

template <typename Value>
Value optionOf(int fd, int option)
{
    Value value = {};
    socklen_t size = sizeof value;
    EXPECT_EQ(getsockopt(fd, SOL_SOCKET, option, &value, &size), 0);
    return value;
}

// A socket at the daemon's path that accepts no client by itself.
class Listener
{
public:
    Listener() : fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) { EXPECT_EQ(atDaemonsPath(bind, fd), 0); }
    ~Listener()
    {
        stop();
        unlink(SIPD_SOCKET_PATH);
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    // Listens with a queue that has no room for another client.
    void listenWithFullQueue()
    {
        ASSERT_EQ(listen(fd, 0), 0);
        while (true) {
            const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
            if (atDaemonsPath(connect, client) != 0) {
                ASSERT_EQ(errno, EAGAIN);
                close(client);
                return;
            }
            queued.push_back(client);
        }
    }

    void acceptOne() const { close(accept(fd, nullptr, nullptr)); }

    void stop()
    {
        if (fd >= 0)
            close(fd);
        fd = -1;
        for (const int client : queued)
            close(client);
        queued.clear();
    }

private:
    int fd;
    std::vector<int> queued;
};

// Whether the thread sleeps in a system call.
bool isWaiting(pid_t thread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string stat;
    std::getline(file, stat);
    return stat.find(") S ") != std::string::npos;
}

// Connects on another thread, and calls meanwhile once that thread waits.
int connectMeanwhile(SIP_COMM_Channel& channel, const std::function<void(pthread_t)>& meanwhile)
{
    std::atomic<pid_t> threadId = 0;
    std::atomic<bool> done = false;
    int result = -1;
    std::thread thread([&] {
        threadId = gettid();
        result = channel.connectDaemon();
        done = true;
    });
    while (!done && (threadId == 0 || !isWaiting(threadId)))
        std::this_thread::yield();
    EXPECT_FALSE(done) << "did not wait for room in the queue";
    meanwhile(thread.native_handle());
    thread.join();
    return result;
}

int connectAsNobody()
{
    const pid_t child = fork();
    if (child == 0) {
        if (geteuid() == 0 && setuid(65534) != 0)
            _exit(99);
        SIP_COMM_Channel channel(SIPD_APPID_SETUP);
        _exit(channel.connectDaemon());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string outputOf(const std::string& command)
{
    std::FILE* const pipe = popen(command.c_str(), "r");
    std::string output;
    for (int c = 0; (c = std::fgetc(pipe)) != EOF;)
        output += static_cast<char>(c);
    pclose(pipe);
    return output;
}

class Connection : public DaemonTest
{
protected:
    // Connects the channel to a daemon with that scenario.
    void connectTo(std::string_view scenario)
    {
        play(scenario);
        ASSERT_EQ(channel.connectDaemon(), SIP_COMM_SUCCESS);
    }
    void expectNoConnection()
    {
        expectLog({channelError("connect fail path /tmp/sipd_us")},
                  [&] { EXPECT_EQ(channel.connectDaemon(), SIP_COMM_FAILED); });
        EXPECT_EQ(channel.getFd(), -1);
    }

    SIP_COMM_Channel channel{SIPD_APPID_SETUP};
};

std::atomic<int> sigpipes = 0;
void countSigpipe(int)
{
    ++sigpipes;
}

// A host that handles SIGPIPE; its end restores the process's handling.
class HostSignals
{
public:
    explicit HostSignals(void (*reaction)(int))
    {
        struct sigaction action = {};
        action.sa_handler = reaction;
        sigaction(SIGPIPE, &action, &savedAction);
        pthread_sigmask(SIG_SETMASK, nullptr, &savedMask);
        sigpipes = 0;
    }
    ~HostSignals()
    {
        pthread_sigmask(SIG_SETMASK, &savedMask, nullptr);
        sigaction(SIGPIPE, &savedAction, nullptr);
    }
    HostSignals(const HostSignals&) = delete;
    HostSignals& operator=(const HostSignals&) = delete;

    static void block(bool blocked)
    {
        sigset_t sigpipe;
        sigemptyset(&sigpipe);
        sigaddset(&sigpipe, SIGPIPE);
        pthread_sigmask(blocked ? SIG_BLOCK : SIG_UNBLOCK, &sigpipe, nullptr);
    }

    static bool isBlocked()
    {
        sigset_t mask;
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        return sigismember(&mask, SIGPIPE) == 1;
    }

    static bool isPending()
    {
        sigset_t pending;
        sigpending(&pending);
        return sigismember(&pending, SIGPIPE) == 1;
    }

    static void (*handler())(int)
    {
        struct sigaction action = {};
        sigaction(SIGPIPE, nullptr, &action);
        return action.sa_handler;
    }

private:
    struct sigaction savedAction = {};
    sigset_t savedMask = {};
};

void sendToADeadPeer()
{
    ChannelPair<> pair;
    pair.closeDaemonEnd();
    const _SIPD_MSG_PROFILE_S profile = {};
    expectLog({channelError("fail when read or write socket 32"),
               channelInfo("sendProfileMsg", " fail send head message")},
              [&] { EXPECT_EQ(pair.channel.sendProfileMsg(&profile), SIP_COMM_IO_ERROR); });
    EXPECT_FALSE(pair.channel.isConnected());
}

} // namespace

TEST_F(Connection, RegistersWithoutReadingTheAnswer)
{
    play("admit");
    SIP_COMM_Channel other(static_cast<_SIPD_APPID_E>(42));
    expectLog({}, [&] { EXPECT_EQ(other.connectDaemon(), SIP_COMM_SUCCESS); });
    EXPECT_TRUE(other.isConnected());
    ASSERT_TRUE(daemon().waitForBytes(12));
    EXPECT_EQ(daemon().received(), encodeHead(0, SIPD_MSG_REGISTER, 42));
    _SIPD_MSG_TYPE_E type;
    EXPECT_EQ(other.recvMsgType(&type), 0);
    EXPECT_EQ(type, SIPD_MSG_ACK);
}

TEST_F(Connection, IsABlockingStreamSocketWithoutOptions)
{
    connectTo("admit");
    EXPECT_EQ(fcntl(channel.getFd(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(optionOf<int>(channel.getFd(), SO_DOMAIN), AF_UNIX);
    EXPECT_EQ(optionOf<int>(channel.getFd(), SO_TYPE), SOCK_STREAM);
    EXPECT_EQ(optionOf<int>(channel.getFd(), SO_PROTOCOL), 0);
    EXPECT_EQ(optionOf<int>(channel.getFd(), SO_PASSCRED), 0);
    for (const int option : {SO_RCVTIMEO, SO_SNDTIMEO}) {
        const auto limit = optionOf<timeval>(channel.getFd(), option);
        EXPECT_EQ(limit.tv_sec + limit.tv_usec, 0);
    }
}

TEST_F(Connection, FailsWithoutAListeningSocket)
{
    expectNoConnection(); // no file
    {
        Listener dead;
        dead.stop();
        expectNoConnection();
    }
    std::ofstream(SIPD_SOCKET_PATH) << "not a socket\n";
    expectNoConnection();
    unlink(SIPD_SOCKET_PATH);
}

TEST_F(Connection, FailsWithoutPermission)
{
    play("admit");
    ASSERT_EQ(chmod(SIPD_SOCKET_PATH, 0), 0);
    EXPECT_EQ(connectAsNobody(), 1);
    EXPECT_EQ(daemon().accepted(), 0);
    ASSERT_EQ(chmod(SIPD_SOCKET_PATH, 0777), 0);
    EXPECT_EQ(connectAsNobody(), 0);
}

TEST_F(Connection, WaitsForRoomInAFullQueue)
{
    Listener listener;
    listener.listenWithFullQueue();
    EXPECT_EQ(connectMeanwhile(channel, [&](pthread_t) { listener.acceptOne(); }), 0);
}

TEST_F(Connection, FailsWhenTheDaemonEndsWhileItWaitsForRoom)
{
    Listener listener;
    listener.listenWithFullQueue();
    EXPECT_EQ(connectMeanwhile(channel, [&](pthread_t) { listener.stop(); }), 1);
    EXPECT_EQ(channel.getFd(), -1);
}

TEST_F(Connection, FailsWhenASignalInterruptsTheWaitForRoom)
{
    struct sigaction action = {};
    action.sa_handler = countSigpipe;
    struct sigaction saved = {};
    sigaction(SIGUSR1, &action, &saved);
    Listener listener;
    listener.listenWithFullQueue();
    EXPECT_EQ(connectMeanwhile(channel, [&](pthread_t thread) { pthread_kill(thread, SIGUSR1); }), 1);
    sigaction(SIGUSR1, &saved, nullptr);
}

TEST_F(Connection, DropsThePendingMessageWhenReopened)
{
    connectTo("close-after:12");
    _SIPD_MSG_TYPE_E type;
    _SIPD_APP_ACK_E ack;
    ASSERT_EQ(channel.recvMsgType(&type), 0); // its body never comes
    channel.disconnectDaemon();

    connectTo("admit");
    expectLog({}, [&] { EXPECT_EQ(channel.recvMsgType(&type), 0); });
    EXPECT_EQ(channel.recvAckMsg(&ack), 0);
}

TEST_F(Connection, ReplacesTheFormerWhenReopened)
{
    connectTo("admit");
    ASSERT_EQ(channel.connectDaemon(), SIP_COMM_SUCCESS);
    ASSERT_TRUE(daemon().waitForBytes(2 * sizeof(_SIPD_MSG_HEAD_S)));
    EXPECT_TRUE(daemon().waitForClosed(1));
    EXPECT_EQ(daemon().accepted(), 2);
}

TEST_F(Connection, StaysOpenWhenReopeningFails)
{
    connectTo("admit");
    const int fd = channel.getFd();
    stopDaemon();
    EXPECT_EQ(channel.connectDaemon(), SIP_COMM_FAILED);
    EXPECT_EQ(channel.getFd(), fd);
}

TEST_F(Connection, IsNotInheritedByAStartedProgram)
{
    connectTo("admit");
    struct stat status = {};
    ASSERT_EQ(fstat(channel.getFd(), &status), 0);
    const std::string ours = "socket:[" + std::to_string(status.st_ino) + "]";
    EXPECT_THAT(outputOf("ls -l /proc/" + std::to_string(getpid()) + "/fd"), HasSubstr(ours));
    EXPECT_THAT(outputOf("ls -l /proc/self/fd"), testing::Not(HasSubstr(ours)));
}

TEST(DeadDaemon, LeavesTheHostsSigpipeHandlingUnchanged)
{
    for (void (*reaction)(int) : {SIG_DFL, SIG_IGN, countSigpipe}) {
        const HostSignals host(reaction);
        sendToADeadPeer();
        EXPECT_EQ(HostSignals::handler(), reaction);
        EXPECT_FALSE(HostSignals::isBlocked());
        EXPECT_FALSE(HostSignals::isPending());
        EXPECT_EQ(sigpipes, 0);
    }
    const HostSignals host(countSigpipe);
    sendToADeadPeer();
    raise(SIGPIPE);
    EXPECT_EQ(sigpipes, 1) << "the handler no longer runs";
}

TEST(DeadDaemon, LeavesABlockedSigpipeBlocked)
{
    const HostSignals host(countSigpipe);
    HostSignals::block(true);
    sendToADeadPeer();
    EXPECT_TRUE(HostSignals::isBlocked());
    EXPECT_FALSE(HostSignals::isPending());
    HostSignals::block(false);
    EXPECT_EQ(sigpipes, 0);
}

TEST(DeadDaemon, LeavesAPendingSigpipeOfTheHost)
{
    // Pending for the thread, and pending for the process.
    const std::array<void (*)(), 2> raisers = {[] { raise(SIGPIPE); }, [] { kill(getpid(), SIGPIPE); }};
    for (const auto raiser : raisers) {
        const HostSignals host(countSigpipe);
        HostSignals::block(true);
        raiser();
        sendToADeadPeer();
        EXPECT_TRUE(HostSignals::isPending());
        HostSignals::block(false);
        EXPECT_EQ(sigpipes, 1);
    }
}

TEST(RunningDaemon, LeavesAPendingSigpipeOfTheHost)
{
    const HostSignals host(countSigpipe);
    HostSignals::block(true);
    raise(SIGPIPE);
    ChannelPair<> pair;
    EXPECT_EQ(pair.channel.sendControlMsg(SIPD_MSG_REGISTER), 0);
    EXPECT_TRUE(HostSignals::isBlocked());
    EXPECT_TRUE(HostSignals::isPending());
    HostSignals::block(false);
    EXPECT_EQ(sigpipes, 1);
}
