// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "DaemonTest.h"
#include "SampleProfiles.h"
#include "SettingsFixture.h"

namespace {

// The profiles "A" in Profile0 and "B" in Profile1.
class ConnectionState : public DaemonTest, protected SettingsDirectory
{
protected:
    ConnectionState()
    {
        addProfile("A");
        addProfile("B");
    }
    ~ConnectionState() override { SETUP_SIP_Agent::cleanup(); }

    static bool isConnected(QString group) { return SETUP_SIP_Agent::isConnected(group); }
    static bool isProfileConnected(const QString& name)
    {
        return SETUP_SIP_Agent::instance()->isProfileConnected(name);
    }
};

TEST_F(ConnectionState, IsConnectedWhenTheDaemonSaysSo)
{
    play("status:2");
    EXPECT_TRUE(isConnected("Profile0"));
    EXPECT_TRUE(isProfileConnected("B"));
    ASSERT_EQ(daemon().requests().size(), 2u);
    EXPECT_STREQ(daemon().requests()[0].name, "Profile0");
    EXPECT_STREQ(daemon().requests()[1].name, "Profile1");
}

TEST_F(ConnectionState, SendsTheGroupNameAsLatin1)
{
    play("status:2");
    EXPECT_TRUE(isConnected(QString::fromUtf8("Büro")));
    ASSERT_EQ(daemon().requests().size(), 1u);
    EXPECT_STREQ(daemon().requests()[0].name, "B\xFCro");
}

TEST_F(ConnectionState, NeedsNoStoreToAskForAGroup)
{
    SETUP_SIP_Agent::cleanup();
    // Loading this file would never end.
    writeFile("[ProfileSummary]\nTotalProfile=99\n");
    play("status:2");
    EXPECT_TRUE(isConnected("Profile0"));
}

TEST_F(ConnectionState, IsNotConnectedWithAnyOtherStatus)
{
    for (const char* scenario : {"status:0", "status:1", "status:3", "status:4294967295"}) {
        play(scenario);
        EXPECT_FALSE(isConnected("Profile0")) << scenario;
        EXPECT_EQ(daemon().requests().size(), 1u);
    }
}

TEST_F(ConnectionState, IsNotConnectedWithoutAskingForAnUnknownName)
{
    play("status:2");
    EXPECT_FALSE(isProfileConnected("C"));
    EXPECT_FALSE(isProfileConnected(""));
    EXPECT_EQ(daemon().accepted(), 0);
}

TEST_F(ConnectionState, IsNotConnectedWithoutADaemon)
{
    EXPECT_FALSE(isConnected("Profile0"));
    EXPECT_FALSE(isProfileConnected("A"));
}

TEST_F(ConnectionState, IsNotConnectedWithAFailingDaemon)
{
    for (const char* scenario : {"refuse", "reset", "close-after:0", "close-after:20", "wrong-type:5",
                                 "wrong-length:1", "registration-type:3"}) {
        play(scenario);
        EXPECT_FALSE(isConnected("Profile0")) << scenario;
        EXPECT_EQ(daemon().accepted(), 1) << scenario;
    }
}

TEST_F(ConnectionState, AsksOnEveryCallAndClosesEachConnection)
{
    play("status:2");
    EXPECT_TRUE(isConnected("Profile0"));
    EXPECT_TRUE(isConnected("Profile0"));
    EXPECT_TRUE(daemon().waitForClosed(2));
    EXPECT_EQ(daemon().accepted(), 2);

    play("refuse");
    EXPECT_FALSE(isConnected("Profile0"));
    EXPECT_TRUE(daemon().waitForClosed(1));
}

} // namespace
