// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// sipd --keep-running: a daemon that is started again whenever it ends.

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

class KeptDaemon : public SipdTest
{
protected:
    void startKept(std::vector<std::string> options = {})
    {
        options.emplace_back("--keep-running");
        startDaemon(options);
        // The peer that the kernel names is the process that called listen().
        keeper_ = SipdClient().daemon();
    }
    // Waits for a daemon other than the former: its process.
    pid_t daemonProcess(pid_t former = 0) const
    {
        pid_t process = 0;
        EXPECT_TRUE(waitUntil([&] {
            process = 0;
            std::ifstream("/proc/" + std::to_string(keeper_) + "/task/" + std::to_string(keeper_) +
                          "/children") >>
                process;
            return process != 0 && process != former;
        }));
        return process;
    }
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

TEST_F(KeptDaemon, ServesEveryClientBetweenManyKills)
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
            else if (before == kills) // A killed daemon may leave its clients unanswered.
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
        EXPECT_TRUE(waitUntil([&] { return served > before; }));
        ++kills;
        ASSERT_EQ(::kill(process, SIGKILL), 0);
        ++kills; // for clients that began in between
    }
    const int before = served;
    EXPECT_TRUE(waitUntil([&] { return served > before + 4; }));
    isDone = true;
    for (std::thread& client : clients)
        client.join();
    EXPECT_EQ(refused, 0);
    EXPECT_EQ(unanswered, 0);
    EXPECT_EQ(restarts(), static_cast<size_t>(many));
    std::printf("%d kills, %d clients served\n", many, served.load());
}

TEST_F(KeptDaemon, ServesAClientThatComesBetweenTwoDaemons)
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

TEST_F(KeptDaemon, IsStartedAgainAfterEverySignal)
{
    TestRegistrar registrar;
    writeProfile("Profile0", {.port = registrar.port(), .autoConnect = true});
    startKept();
    pid_t process = 0;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGABRT, SIGSEGV, SIGKILL}) {
        process = daemonProcess(process);
        ASSERT_TRUE(waitUntil([] { return statusOf("Profile0") == 2U; })) << signal;
        ASSERT_EQ(::kill(process, signal), 0);
    }
    EXPECT_NE(daemonProcess(process), process);
    EXPECT_TRUE(waitUntil([] { return statusOf("Profile0") == 2U; }));
}

TEST_F(KeptDaemon, EndsWithItsKeeperAndUnregisters)
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
        EXPECT_FALSE(socketExists());
        EXPECT_TRUE(isGone(process));
    }
}

TEST_F(KeptDaemon, EndsWhenItsKeeperIsKilled)
{
    TestRegistrar registrar;
    writeProfile("Profile0", {.port = registrar.port()});
    startKept();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    const pid_t process = daemonProcess();
    daemon().signal(SIGKILL);
    EXPECT_EQ(daemon().wait(), -SIGKILL);
    EXPECT_TRUE(waitUntil([&] { return isGone(process); }));
    EXPECT_EQ(registrar.contacts().size(), 0U);
    startKept();
    EXPECT_EQ(statusOf("Profile0"), 0U);
}

TEST_F(KeptDaemon, ReceivesEachNewSocket)
{
    TestRegistrar registrar;
    writeProfile("Profile0", {.port = registrar.port()});
    startKept();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    const pid_t process = daemonProcess();
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(unlink(SIPD_SOCKET_PATH), 0);
        // The file exists for a moment before anybody listens on it.
        EXPECT_TRUE(waitUntil([this] { return statusOf("Profile0") == 2U; }));
    }
    EXPECT_EQ(daemonProcess(), process);
    ::kill(process, SIGKILL);
    EXPECT_EQ(statusOf("Profile0"), 0U) << "the next one has the new socket, too";
}

// More sockets than the channel from the keeper to the daemon holds.
TEST_F(KeptDaemon, ReceivesTheLastOfManySockets)
{
    startKept();
    EXPECT_EQ(statusOf("Profile0"), 0U);
    const pid_t process = daemonProcess();
    ::kill(process, SIGSTOP);
    for (int i = 0; i < 600; ++i) {
        ASSERT_TRUE(waitUntil(socketExists));
        ASSERT_EQ(unlink(SIPD_SOCKET_PATH), 0);
    }
    ::kill(process, SIGCONT);
    EXPECT_TRUE(waitUntil([this] { return statusOf("Profile0") == 0U; }));
    EXPECT_EQ(daemonProcess(), process);
}

TEST_F(KeptDaemon, IsStartedWithPausesWhenItEndsAtOnce)
{
    const std::string certificates = directory().toStdString() + "/certificates";
    std::ofstream(certificates) << "none";
    startKept({"--ca-file", certificates});
    EXPECT_EQ(statusOf("Profile0"), 0U);
    unlink(certificates.c_str());
    const auto begin = std::chrono::steady_clock::now();
    ::kill(daemonProcess(), SIGKILL);
    SipdClient waiting;
    EXPECT_TRUE(waitUntil([&] { return restarts() >= 7; }));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 50ms + 100ms + 200ms + 400ms);
    std::ofstream(certificates) << "none";
    EXPECT_EQ(waiting.introduce(), SIPD_ACK_SUCCESS);
    EXPECT_THAT(daemon().log(), HasSubstr("ended with status 1, and is started anew"));
}
