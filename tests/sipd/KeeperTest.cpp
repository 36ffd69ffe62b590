// sipd --keep-running: the daemon that is started anew whenever it ends.

#include "SipdProcess.h"
#include "TestRegistrar.h"

#include <atomic>
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;
using testing::HasSubstr;

namespace {

// For what may only fail by never coming.
constexpr auto timeout = 2min;

class KeptDaemon : public SipdTest
{
protected:
    void startKept(std::vector<std::string> options = {})
    {
        options.emplace_back("--keep-running");
        startDaemon(options);
        // A client is told the process that called listen().
        keeper_ = SipdClient().daemon();
    }
    // The daemon's process, as soon as there is one other than the former.
    pid_t daemonProcess(pid_t former = 0) const
    {
        pid_t process = 0;
        EXPECT_TRUE(waitUntil(
            [&] {
                process = 0;
                std::ifstream("/proc/" + std::to_string(keeper_) + "/task/" + std::to_string(keeper_) +
                              "/children") >>
                    process;
                return process != 0 && process != former;
            },
            timeout));
        return process;
    }
    static bool isThere() { return access(SIPD_SOCKET_PATH, F_OK) == 0; }
    static bool isGone(pid_t process) { return ::kill(process, 0) != 0; }
    size_t restarts() const
    {
        std::istringstream lines(daemon().log());
        size_t count = 0;
        for (std::string line; std::getline(lines, line);)
            count += line.find("is started anew") != std::string::npos ? 1 : 0;
        return count;
    }

    pid_t keeper_ = 0;
};

} // namespace

TEST_F(KeptDaemon, IsBackForEveryClientHoweverOftenItIsKilled)
{
    startKept();
    std::atomic<int> kills = 0;
    std::atomic<int> refused = 0;
    std::atomic<int> unanswered = 0;
    std::atomic<int> served = 0;
    std::atomic<bool> isDone = false;
    const auto comeAndGo = [&] {
        while (!isDone) {
            const int before = kills;
            SipdClient client;
            if (!client.isConnected())
                ++refused;
            else if (client.introduce() == SIPD_ACK_SUCCESS && client.status("Profile0") == 0)
                ++served;
            else if (before == kills) // Only the one to which the killed daemon spoke loses it.
                ++unanswered;
        }
    };
    std::vector<std::thread> clients;
    for (int i = 0; i < 4; ++i)
        clients.emplace_back(comeAndGo);
    constexpr int many = 20;
    pid_t process = 0;
    for (int i = 0; i < many; ++i) {
        process = daemonProcess(process);
        const int before = served;
        EXPECT_TRUE(waitUntil([&] { return served > before; }, timeout));
        ++kills;
        ASSERT_EQ(::kill(process, SIGKILL), 0);
        ++kills; // for who began in between
    }
    const int before = served;
    EXPECT_TRUE(waitUntil([&] { return served > before + 4; }, timeout));
    isDone = true;
    for (std::thread& client : clients)
        client.join();
    EXPECT_EQ(refused, 0);
    EXPECT_EQ(unanswered, 0);
    EXPECT_EQ(restarts(), static_cast<size_t>(many));
    std::printf("%d kills, %d clients served\n", many, served.load());
}

TEST_F(KeptDaemon, AClientThatComesMeanwhileIsServed)
{
    startKept();
    const pid_t process = daemonProcess();
    ASSERT_EQ(statusOf("Profile0"), 0U);
    ::kill(keeper_, SIGSTOP);
    ::kill(process, SIGKILL);
    SipdClient client;
    EXPECT_TRUE(client.isConnected());
    EXPECT_TRUE(client.send(SipdClient::registerMessage()));
    ::kill(keeper_, SIGCONT);
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
}

TEST_F(KeptDaemon, IsBackWhateverEndsIt)
{
    TestRegistrar registrar;
    writeProfile("Profile0", {.port = registrar.port(), .autoConnect = true});
    startKept();
    pid_t process = 0;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGABRT, SIGSEGV, SIGKILL}) {
        process = daemonProcess(process);
        ASSERT_TRUE(waitUntil([] { return statusOf("Profile0") == 2U; }, timeout)) << signal;
        ASSERT_EQ(::kill(process, signal), 0);
    }
    EXPECT_NE(daemonProcess(process), process);
    EXPECT_TRUE(waitUntil([] { return statusOf("Profile0") == 2U; }, timeout));
}

TEST_F(KeptDaemon, EndsWithItsKeeperAndTakesItsRegistrationsBack)
{
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        TestRegistrar registrar;
        writeProfile("Profile0", {.port = registrar.port()});
        startKept();
        EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
        const pid_t process = daemonProcess();
        daemon().signal(signal);
        EXPECT_EQ(daemon().wait(), 0);
        EXPECT_EQ(registrar.contacts().size(), 0U);
        EXPECT_FALSE(isThere());
        EXPECT_TRUE(isGone(process));
    }
}

TEST_F(KeptDaemon, EndsByItselfWhenItsKeeperIsKilled)
{
    TestRegistrar registrar;
    writeProfile("Profile0", {.port = registrar.port()});
    startKept();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    const pid_t process = daemonProcess();
    daemon().signal(SIGKILL);
    EXPECT_EQ(daemon().wait(), -SIGKILL);
    EXPECT_TRUE(waitUntil([&] { return isGone(process); }, timeout));
    EXPECT_EQ(registrar.contacts().size(), 0U);
    startKept();
    EXPECT_EQ(statusOf("Profile0"), 0U);
}

TEST_F(KeptDaemon, GoesOnWithTheSocketThatItsKeeperMakesAnew)
{
    TestRegistrar registrar;
    writeProfile("Profile0", {.port = registrar.port()});
    startKept();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    const pid_t process = daemonProcess();
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(unlink(SIPD_SOCKET_PATH), 0);
        // It is there for a moment before anybody listens on it.
        EXPECT_TRUE(waitUntil([this] { return statusOf("Profile0") == 2U; }, timeout));
    }
    EXPECT_EQ(daemonProcess(), process);
    ::kill(process, SIGKILL);
    EXPECT_EQ(statusOf("Profile0"), 0U) << "the next one has the new socket, too";
}

// More than the channel from the keeper to the daemon holds.
TEST_F(KeptDaemon, IsToldOfTheLastOfManySockets)
{
    startKept();
    EXPECT_EQ(statusOf("Profile0"), 0U);
    const pid_t process = daemonProcess();
    ::kill(process, SIGSTOP);
    for (int i = 0; i < 600; ++i) {
        ASSERT_TRUE(waitUntil(isThere, timeout));
        ASSERT_EQ(unlink(SIPD_SOCKET_PATH), 0);
    }
    ::kill(process, SIGCONT);
    EXPECT_TRUE(waitUntil([this] { return statusOf("Profile0") == 0U; }, timeout));
    EXPECT_EQ(daemonProcess(), process);
}

TEST_F(KeptDaemon, IsStartedWithPausesWhenItNeverLasts)
{
    const std::string certificates = directory().toStdString() + "/certificates";
    std::ofstream(certificates) << "none";
    startKept({"--ca-file", certificates});
    EXPECT_EQ(statusOf("Profile0"), 0U);
    unlink(certificates.c_str());
    ::kill(daemonProcess(), SIGKILL);
    SipdClient waiting;
    EXPECT_TRUE(waitUntil([&] { return restarts() >= 6; }, timeout));
    const size_t before = restarts();
    std::this_thread::sleep_for(2s);
    EXPECT_LE(restarts() - before, 6U) << "it is started without a pause";
    std::ofstream(certificates) << "none";
    EXPECT_EQ(waiting.introduce(), SIPD_ACK_SUCCESS);
    EXPECT_THAT(daemon().log(), HasSubstr("ended with status 1, and is started anew"));
}
