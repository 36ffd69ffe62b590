// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The daemon while the date is set, after the machine has slept, and at the end of its time limits.

#include "ShiftedTime.h"
#include "SipdProcess.h"
#include "TestRegistrar.h"

#include <csignal>
#include <cstdlib>
#include <gmock/gmock.h>
#include <optional>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

class Time : public SipdTest, public testing::WithParamInterface<int>
{
protected:
    void startShifted(const std::vector<std::string>& options = {}) { startDaemon(options, time.wrapper()); }
    bool waitForRequests(size_t count)
    {
        return waitUntil([&] { return registrar.requests().size() >= count; });
    }
    void sleepWhenIdle(std::chrono::seconds duration)
    {
        ShiftedTime::waitUntilIdle(SipdClient().daemon());
        time.sleepFor(duration);
    }
    TestProfile profile(const std::string& user = "anna") const
    {
        return {.port = registrar.port(), .user = user};
    }

    ShiftedTime time{directory().toStdString()};
    TestRegistrar registrar;
};

std::string nameOfStep(const testing::TestParamInfo<int>& step)
{
    return (step.param < 0 ? "Back" : "On") + std::to_string(std::abs(step.param)) + "Hours";
}

INSTANTIATE_TEST_SUITE_P(Steps, Time, testing::Values(-24, -1, 1), nameOfStep);

using Suspend = Time;

} // namespace

TEST_P(Time, SetDateLeavesAConnectAlone)
{
    writeProfile("Profile0", profile());
    startShifted();
    registrar.hold();
    SipdClient client(PROFILE_CTRL_CONNECT, "Profile0");
    ASSERT_TRUE(waitForRequests(1));
    time.setDate(std::chrono::hours(GetParam()));
    registrar.release();
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
}

TEST_P(Time, SetDateLeavesTheDeadlineOfAConnectAlone)
{
    writeProfile("Profile0", profile());
    TestRegistrar other;
    writeProfile("Profile1", {.port = other.port()});
    startShifted();
    registrar.setAnswer(0);
    SipdClient client(PROFILE_CTRL_CONNECT, "Profile0");
    ASSERT_TRUE(waitForRequests(1));
    time.setDate(std::chrono::hours(GetParam()));
    // The daemon's timers have run by the time that another profile is connected.
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(statusOf("Profile0"), 1U);
    time.sleepFor(8s);
    EXPECT_EQ(client.ack(), SIPD_ACK_CONNECT_FAILED);
}

TEST_P(Time, SetDateLeavesRefreshesAlone)
{
    writeProfile("Profile0", profile());
    writeProfile("Profile1", profile());
    startShifted();
    ASSERT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    time.setDate(std::chrono::hours(GetParam()));
    // The stack's timers have run by the time that another profile is refused.
    registrar.setAnswer(503);
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_SERVICE_UNAVAILABLE);
    EXPECT_EQ(registrar.requests().size(), 2U) << "nothing is refreshed early";
    registrar.setAnswer({});
    time.sleepFor(1h);
    EXPECT_TRUE(waitForRequests(3)) << "nor late";
    EXPECT_EQ(statusOf("Profile0"), 2U);
}

TEST_F(Suspend, RefreshIsDueAtWakeUp)
{
    writeProfile("Profile0", profile());
    startShifted();
    ASSERT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    sleepWhenIdle(3h);
    EXPECT_TRUE(waitForRequests(2)) << "though no client asks";
    EXPECT_NE(registrar.requests().back().expires, 0);
    EXPECT_EQ(registrar.contacts().size(), 1U);
    EXPECT_EQ(statusOf("Profile0"), 2U);
}

TEST_F(Suspend, RetryIsDueAtWakeUp)
{
    TestProfile automatic = profile();
    automatic.autoConnect = true;
    writeProfile("Profile0", automatic);
    registrar.setAnswer(403);
    startShifted();
    ASSERT_TRUE(waitForRequests(1));
    ASSERT_TRUE(waitUntil([] { return statusOf("Profile0") == 0U; }));
    registrar.setAnswer({});
    sleepWhenIdle(6min);
    EXPECT_TRUE(waitForRequests(2)) << "though no client asks";
}

TEST_F(Suspend, ConnectEndsAtWakeUp)
{
    writeProfile("Profile0", profile());
    startShifted();
    registrar.setAnswer(0);
    SipdClient client(PROFILE_CTRL_CONNECT, "Profile0");
    ASSERT_TRUE(waitForRequests(1));
    time.sleepFor(3h);
    EXPECT_EQ(client.ack(), SIPD_ACK_CONNECT_FAILED);
}

TEST_F(Suspend, RegistrationSurvivesNoncesThatRunOut)
{
    registrar.setAccount({"anna", "secret"});
    writeProfile("Profile0", profile());
    startShifted();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    for (size_t count = 2; count < 6; ++count) {
        registrar.setNonceUses(2, count >= 4);
        // The daemon has handled the answer: no request waits, which sleep would have it send again.
        EXPECT_EQ(statusOf("Profile0"), 2U);
        EXPECT_EQ(statusOf("Profile0"), 2U);
        time.sleepFor(1h);
        ASSERT_TRUE(waitUntil([&] { return registrar.accepted() >= count; }));
    }
    EXPECT_EQ(statusOf("Profile0"), 2U);
    EXPECT_THAT(daemon().log(), testing::Not(testing::HasSubstr("not connected")));
    stopDaemon();
    EXPECT_EQ(registrar.contacts().size(), 0U);
}

TEST_F(Suspend, RefusedRefreshIsRetried)
{
    writeProfile("Profile0", profile());
    startShifted();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(statusOf("Profile0"), 2U);
    registrar.setAnswer(500);
    time.sleepFor(1h);
    EXPECT_TRUE(waitUntil([] { return statusOf("Profile0") == 0U; }));
    registrar.setAnswer({});
    time.sleepFor(1s);
    EXPECT_TRUE(waitUntil([] { return statusOf("Profile0") == 2U; }));
}

TEST_F(Suspend, SilentServerDelaysADisconnectForThreeSecondsAtMost)
{
    writeProfile("Profile0", profile());
    startShifted();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    registrar.setAnswer(0);
    SipdClient client(PROFILE_CTRL_DISCONNECT, "Profile0");
    ASSERT_TRUE(waitUntil([this] { return registrar.requests().back().expires == 0; }));
    time.sleepFor(3s);
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(client.status("Profile0"), 0U);
    stopDaemon(); // at once, since the attempt has ended, too
}

// It unregisters one profile, and abandons the attempt of another.
TEST_F(Suspend, SilentServersDelayTheEndOfTheDaemonForFourSecondsAtMost)
{
    writeProfile("Profile0", profile());
    writeProfile("Profile1", profile("bert"));
    startShifted();
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_SUCCESS);
    registrar.setAnswer(0);
    SipdClient client(PROFILE_CTRL_CONNECT, "Profile0");
    ASSERT_TRUE(waitForRequests(2));
    daemon().signal(SIGTERM);
    ASSERT_TRUE(waitUntil([this] { return registrar.requests().back().expires == 0; }));
    EXPECT_NE(access(SIPD_SOCKET_PATH, F_OK), 0);
    {
        const SipdProcess next(logFile() + ".next", {});
        EXPECT_EQ(statusOf("Profile0"), 0U) << "there is room for the next one";
        time.sleepFor(4s);
        EXPECT_EQ(daemon().wait(), 0);
        EXPECT_EQ(access(SIPD_SOCKET_PATH, F_OK), 0) << "the socket is the next one's";
    }
    EXPECT_NE(access(SIPD_SOCKET_PATH, F_OK), 0);
}
