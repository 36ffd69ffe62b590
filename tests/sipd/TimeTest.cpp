// The daemon while the date is set, and after the machine has slept. TimeShift.c says what of that is played.

#include "SipdProcess.h"
#include "TestRegistrar.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sys/mman.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

using namespace std::chrono_literals;

namespace {

// Far more than anything here takes, and less than the minute after which the daemon's loop looks at its
// timers unasked.
constexpr auto timeout = 45s;

class Time : public SipdTest, public testing::WithParamInterface<int>
{
protected:
    void SetUp() override
    {
        SipdTest::SetUp();
        const int fd = open(shiftFile().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        ASSERT_EQ(ftruncate(fd, size), 0);
        void* const file = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        ASSERT_NE(file, MAP_FAILED);
        close(fd);
        shifts_ = static_cast<volatile int64_t*>(file);
        ASSERT_EQ(mkfifo(pipeFile().c_str(), 0600), 0);
        pipe_ = open(pipeFile().c_str(), O_RDWR | O_CLOEXEC);
    }
    void TearDown() override
    {
        SipdTest::TearDown();
        munmap(const_cast<int64_t*>(shifts_), size);
        close(pipe_);
    }

    void startShifted(const std::vector<std::string>& options = {})
    {
        const char* const former = std::getenv("ASAN_OPTIONS");
        startDaemon(options,
                    {"/usr/bin/env", "TIME_SHIFT_FILE=" + shiftFile(), "TIME_SHIFT_PIPE=" + pipeFile(),
                     "LD_PRELOAD=" TIME_SHIFT,
                     std::string("ASAN_OPTIONS=verify_asan_link_order=0:") + (former ? former : "")});
    }
    void setDate(std::chrono::seconds step)
    {
        shifts_[0] = shifts_[0] + std::chrono::nanoseconds(step).count();
    }
    // The date goes on meanwhile, so it jumps, too.
    void sleepFor(std::chrono::seconds time)
    {
        setDate(time);
        shifts_[1] = shifts_[1] + std::chrono::nanoseconds(time).count();
        EXPECT_EQ(write(pipe_, "resumed!", 8), 8);
    }
    bool waitForRequests(size_t count)
    {
        return waitUntil([&] { return registrar.requests().size() >= count; }, timeout);
    }
    void beginToConnect(SipdClient& client)
    {
        client.introduce();
        client.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile0"));
        ASSERT_TRUE(waitForRequests(1));
    }
    // Waits until the daemon waits for events and nothing else.
    static void waitUntilIdle()
    {
        const pid_t daemon = SipdClient().daemon();
        long former = -1;
        const auto isIdle = [&] {
            std::this_thread::sleep_for(300ms);
            const long switches = switchesOf(daemon);
            return std::exchange(former, switches) == switches;
        };
        ASSERT_TRUE(waitUntil(isIdle, timeout));
    }
    TestProfile profile() const { return {.port = registrar.port()}; }

    TestRegistrar registrar;

private:
    static constexpr off_t size = 2 * sizeof(int64_t);

    // How often it has waited.
    static long switchesOf(pid_t process)
    {
        std::ifstream status("/proc/" + std::to_string(process) + "/status");
        const std::string name = "voluntary_ctxt_switches:";
        for (std::string word; status >> word;) {
            long number = 0;
            if (word == name && status >> number)
                return number;
        }
        ADD_FAILURE() << "no such process";
        return -1;
    }

    std::string shiftFile() const { return directory().toStdString() + "/shift"; }
    std::string pipeFile() const { return directory().toStdString() + "/resume"; }

    volatile int64_t* shifts_ = nullptr;
    int pipe_ = -1;
};

std::string nameOfStep(const testing::TestParamInfo<int>& step)
{
    return (step.param < 0 ? "Back" : "On") + std::to_string(std::abs(step.param)) + "Hours";
}

} // namespace

TEST_P(Time, AConnectIsAcknowledgedWhenTheDateIsSet)
{
    writeProfile("Profile0", profile());
    startShifted();
    registrar.hold();
    SipdClient client;
    beginToConnect(client);
    setDate(std::chrono::hours(GetParam()));
    registrar.release();
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
}

TEST_P(Time, ASilentServerIsGivenUpWhenTheDateIsSet)
{
    writeProfile("Profile0", profile());
    startShifted();
    registrar.setAnswer(0);
    SipdClient client;
    beginToConnect(client);
    const auto start = std::chrono::steady_clock::now();
    setDate(std::chrono::hours(GetParam()));
    EXPECT_EQ(client.ack(), SIPD_ACK_CONNECT_FAILED);
    EXPECT_GT(std::chrono::steady_clock::now() - start, 5s) << "it got less than its time";
}

TEST_P(Time, ARegistrationIsRefreshedWhenTheDateIsSet)
{
    writeProfile("Profile0", profile());
    startShifted({"--expires", "4"});
    ASSERT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    setDate(std::chrono::hours(GetParam()));
    EXPECT_TRUE(waitForRequests(4));
    EXPECT_EQ(registrar.contacts().size(), 1U);
    EXPECT_EQ(statusOf("Profile0"), 2U);
}

TEST_P(Time, ARegistrationIsNotRefreshedForTheDateAlone)
{
    writeProfile("Profile0", profile());
    writeProfile("Profile1", profile());
    startShifted();
    ASSERT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    setDate(std::chrono::hours(GetParam()));
    // The stack looks every second for what is to be refreshed, and has looked by the time that one is.
    registrar.setAnswer(503);
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_SERVICE_UNAVAILABLE);
    EXPECT_EQ(registrar.requests().size(), 2U);
}

INSTANTIATE_TEST_SUITE_P(Steps, Time, testing::Values(-24, -1, 1), nameOfStep);

using Suspend = Time;

TEST_F(Suspend, WhatWasDueMeanwhileIsRefreshedAtWakeUp)
{
    writeProfile("Profile0", profile());
    startShifted();
    ASSERT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    sleepFor(3h);
    EXPECT_TRUE(waitForRequests(2));
    EXPECT_NE(registrar.requests().back().expires, 0);
    EXPECT_EQ(statusOf("Profile0"), 2U);
}

TEST_F(Suspend, WhatWasToBeTriedMeanwhileIsTriedAtWakeUp)
{
    TestProfile automatic = profile();
    automatic.autoConnect = true;
    writeProfile("Profile0", automatic);
    registrar.setAnswer(403);
    startShifted();
    ASSERT_TRUE(waitForRequests(1));
    ASSERT_TRUE(waitUntil([] { return statusOf("Profile0") == 0U; }));
    registrar.setAnswer({});
    waitUntilIdle();
    sleepFor(6min);
    EXPECT_TRUE(waitForRequests(2)) << "and nobody asked it anything";
}

TEST_F(Suspend, AConnectThatWasUnderWayIsAcknowledgedAtWakeUp)
{
    writeProfile("Profile0", profile());
    startShifted();
    registrar.setAnswer(0);
    SipdClient client;
    beginToConnect(client);
    sleepFor(3h);
    EXPECT_EQ(client.ack(), SIPD_ACK_CONNECT_FAILED);
}
