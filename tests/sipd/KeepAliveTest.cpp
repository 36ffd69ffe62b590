// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "KeepAlive.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

TEST(KeepAlive, TriesLongerSilencesUpToTheLongest)
{
    KeepAlive keepAlive(100s);
    for (const auto silence : {30s, 45s, 67s, 100s}) {
        EXPECT_EQ(keepAlive.silence(), silence);
        EXPECT_TRUE(keepAlive.isProbe());
        keepAlive.learn(true, silence);
    }
    EXPECT_EQ(keepAlive.silence(), 100s);
    EXPECT_FALSE(keepAlive.isProbe());
}

TEST(KeepAlive, ReturnsToTheLastSilenceThatLasted)
{
    KeepAlive keepAlive(600s);
    keepAlive.learn(true, 30s);
    keepAlive.learn(false, 45s);
    EXPECT_EQ(keepAlive.silence(), 30s);
    EXPECT_FALSE(keepAlive.isProbe());
}

TEST(KeepAlive, ShrinksWhenAShortSilenceDoesNotLast)
{
    KeepAlive keepAlive(600s);
    keepAlive.learn(true, 30s);
    keepAlive.learn(false, 45s);
    keepAlive.learn(false, 30s);
    EXPECT_EQ(keepAlive.silence(), 15s);
    keepAlive.learn(false, 15s);
    EXPECT_EQ(keepAlive.silence(), 10s) << "not ever shorter";
}

TEST(KeepAlive, LearnsNothingFromShortSilences)
{
    KeepAlive keepAlive(600s);
    keepAlive.learn(true, 5s);
    EXPECT_EQ(keepAlive.silence(), 30s);
}
