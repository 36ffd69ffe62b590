// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The life of a registration at a real server.
#include "RealServerTest.h"
#include "ShiftedTime.h"

#include <csignal>

using namespace std::chrono_literals;

namespace {

// Over UDP and TCP. The server keeps registrations for an hour: one that is gone was unregistered.
class RealServerShiftedLife : public RealServerTest, public testing::WithParamInterface<const char*>
{
protected:
    void connectAnna(const std::vector<std::string>& options = {})
    {
        server.start();
        startDaemon(options, time.wrapper());
        writeProfile("Profile0", profileOf("anna", serverOver(GetParam()), server.port()));
        ASSERT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
        ASSERT_TRUE(isConnected());
    }

    Kamailio server{workplace()};
    ShiftedTime time{directory().toStdString()};
};

INSTANTIATE_TEST_SUITE_P(Real, RealServerShiftedLife, testing::Values("udp", "tcp"), transportName);

} // namespace

TEST_P(RealServerShiftedLife, IsLostWithTheServerAndEndsWithTheDaemon)
{
    connectAnna();
    server.die();
    time.sleepFor(1h);
    EXPECT_TRUE(waitUntil([] { return !isConnected(); }));
    server.start();
    time.sleepFor(1min);
    EXPECT_TRUE(waitUntil([] { return isConnected(); })) << "it comes back with the server";
    EXPECT_TRUE(server.registered("anna"));
    stopDaemon();
    EXPECT_FALSE(server.registered("anna"));
}

TEST_P(RealServerShiftedLife, IsRefreshedForAsLongAsItLasts)
{
    connectAnna({"--expires", "6"});
    for (int i = 0; i < 3; ++i) {
        const auto former = server.registered("anna");
        ASSERT_TRUE(former) << i;
        time.sleepFor(6s);
        EXPECT_TRUE(waitUntil([&] {
            const auto binding = server.registered("anna");
            return binding && binding->sequence > former->sequence;
        }));
        EXPECT_TRUE(isConnected());
    }
}

TEST_P(RealServerShiftedLife, ReplacesThatOfAKilledDaemon)
{
    const std::vector<std::string> sameState = {"/usr/bin/env",
                                                "XDG_STATE_HOME=" + workplace().string() + "/state"};
    server.start();
    startDaemon({}, sameState);
    writeProfile("Profile0", profileOf("anna", serverOver(GetParam()), server.port()));
    ASSERT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    const auto former = server.registered("anna");
    ASSERT_TRUE(former);
    daemon().signal(SIGKILL);
    EXPECT_EQ(daemon().wait(), -SIGKILL);
    startDaemon({}, sameState);
    ASSERT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    const auto binding = server.registered("anna"); // the only one
    ASSERT_TRUE(binding);
    EXPECT_NE(binding->contact, former->contact);
}
