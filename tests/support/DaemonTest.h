// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef DAEMON_TEST_H
#define DAEMON_TEST_H

#include "DaemonSocketClaim.h"
#include "ScriptedDaemon.h"

#include <gtest/gtest.h>
#include <memory>
#include <string_view>

// A test that plays the daemon. When a real daemon is running, the test fails and does not touch the
// socket.
class DaemonTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(claim.problem(), "") << "this test needs the daemon's socket for itself";
    }

    // Ends the present scenario, if any, and begins this one.
    void play(std::string_view scenario)
    {
        const auto found = findScenario(scenario);
        ASSERT_TRUE(found) << "no scenario " << scenario;
        playScenario(*found);
    }
    void playScenario(const Scenario& scenario)
    {
        stopDaemon();
        played = std::make_unique<ScriptedDaemon>(scenario);
        ASSERT_EQ(played->start(), "");
    }

    void stopDaemon() { played.reset(); }

    ScriptedDaemon& daemon() { return *played; }

private:
    DaemonSocketClaim claim;
    std::unique_ptr<ScriptedDaemon> played;
};

#endif
