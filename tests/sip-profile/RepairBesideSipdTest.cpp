// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// A tidy of the settings file while the daemon has profiles connected.
#include "ProfileRepair.h"
#include "SipdProcess.h"
#include "TestRegistrar.h"

#include <gmock/gmock.h>

namespace {

QByteArray profile(const char* name, const char* user, const TestRegistrar& registrar)
{
    return QByteArray("DisplayName=") + name + "\nUserID=" + user +
           "\nPassword=p\nServer=127.0.0.1\nPortNum=" + QByteArray::number(registrar.port()) +
           "\nAutoConnect=false\n";
}

std::vector<std::string> usersAt(const TestRegistrar& registrar)
{
    std::vector<std::string> users;
    for (const TestRegistrar::Register& request : registrar.requests())
        users.push_back(request.user);
    return users;
}

class TidyBesideSipd : public SipdTest
{
};

TEST_F(TidyBesideSipd, KeepsEveryProfileConnected)
{
    TestRegistrar broken;
    broken.setAnswer(500);
    TestRegistrar good;
    writeFile("[ProfileSummary]\nTotalProfile=3\n[Profile1]\n" +
              profile("B", "berta", broken).replace("AutoConnect=false", "AutoConnect=true") +
              "[Profile2]\n" + profile("C", "carla", good) + "[Profile4]\n" + profile("D", "dora", good) +
              "DefaultProfile=true\n");
    startDaemon();
    ASSERT_TRUE(waitUntil([&] { return !broken.requests().empty() && statusOf("Profile1") == 0; }));
    ASSERT_EQ(connectProfile("Profile2"), SIPD_ACK_SUCCESS);
    ASSERT_EQ(connectProfile("Profile4"), SIPD_ACK_SUCCESS);
    const std::vector<std::string> users = usersAt(good);

    ASSERT_EQ(tidyProfileFile(file()).outcome, ProfileRepair::Repaired);
    EXPECT_NE(statusOf("Profile0"), SIPD_PROFILE_CONNECTED);
    EXPECT_EQ(statusOf("Profile1"), SIPD_PROFILE_CONNECTED);
    EXPECT_EQ(statusOf("Profile2"), SIPD_PROFILE_CONNECTED);
    EXPECT_EQ(statusOf("Profile4"), 0U);
    EXPECT_EQ(usersAt(good), users) << "a request was sent";
    EXPECT_EQ(disconnectProfile("Profile1"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(usersAt(good).back(), "carla");
    EXPECT_EQ(statusOf("Profile2"), SIPD_PROFILE_CONNECTED);
}

} // namespace
