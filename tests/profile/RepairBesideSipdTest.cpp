// The repair while the daemon is at work on the profiles.
#include "DaemonLink.h"
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

std::vector<std::string> usersThatCameTo(const TestRegistrar& registrar)
{
    std::vector<std::string> users;
    for (const TestRegistrar::Register& request : registrar.requests())
        users.push_back(request.user);
    return users;
}

class RepairBesideSipd : public SipdTest
{
};

TEST_F(RepairBesideSipd, LetsNoProfileBeConnectedForTheOneThatHadItsNumber)
{
    TestRegistrar broken;
    broken.setAnswer(500);
    TestRegistrar good;
    writeFile("[ProfileSummary]\nTotalProfile=3\n[Profile1]\n" +
              profile("B", "berta", broken).replace("AutoConnect=false", "AutoConnect=true") +
              "[Profile2]\n" + profile("C", "carla", good) + "[Profile4]\n" + profile("D", "dora", good));
    startDaemon();
    ASSERT_TRUE(waitUntil([&] { return !broken.requests().empty() && statusOf("Profile1") == 0; }));

    ASSERT_EQ(repairProfileFile(file(), releaseProfiles).outcome, ProfileRepair::Repaired);
    // Once it has noticed the next change, it has seen the repaired file, too.
    ASSERT_EQ(connectProfile("Profile2"), SIPD_ACK_SUCCESS);
    writeFile(readFile().replace("dora", "doris"));
    ASSERT_TRUE(waitUntil([&] { return usersThatCameTo(good).back() == "doris"; }));
    EXPECT_THAT(usersThatCameTo(good), testing::Not(testing::Contains("carla")));
    EXPECT_EQ(statusOf("Profile0"), 0U);
    EXPECT_EQ(statusOf("Profile1"), 0U);
}

} // namespace
