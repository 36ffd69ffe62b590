// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "EventLoop.h"

#include <gtest/gtest.h>

using std::chrono::milliseconds;

TEST(EventLoop, SleepsUntilATimerExpires)
{
    EventLoop loop;
    for (int delay = 1; delay <= 20; ++delay) {
        bool isExpired = false;
        const auto timer = loop.makeTimer([&isExpired] { isExpired = true; });
        timer->set(milliseconds(delay));
        int steps = 0;
        for (; !isExpired; ++steps)
            loop.step();
        EXPECT_LE(steps, 4) << delay; // the former timer may have woken it once more
    }
}
