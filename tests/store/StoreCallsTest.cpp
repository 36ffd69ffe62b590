// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Which settings manager each operation of the store makes, its calls in their order, and every argument.
#include "StoreCalls.h"
#include "SampleProfiles.h"
#include "SettingsFixture.h"

namespace {

using storeCalls::calls;

const QString OPENED = "open ormu_sipsetup.cfg false";

// The store of "A" in Profile0 and "B" in Profile1, the latter the default, with nothing recorded yet.
class StoreCalls : public SettingsInMemoryTest
{
protected:
    StoreCalls()
    {
        storeCalls::values = {{"ProfileSummary/TotalProfile", "2"},
                              {"Profile0/DisplayName", "A"},
                              {"Profile1/DisplayName", "B"},
                              {"Profile1/DefaultProfile", "true"}};
        storeCalls::daemon = {};
        store = SETUP_SIP_Agent::instance();
        calls.clear();
    }
    ~StoreCalls() override { SETUP_SIP_Agent::cleanup(); }

    static QStringList read(const QString& group)
    {
        QStringList expected;
        for (const QString key :
             {"text %1/DisplayName '' false", "text %1/Server '' false", "unsigned %1/PortNum 5060",
              "text %1/UserID '' false", "text %1/Password '' false", "bool %1/AutoConnect true",
              "text %1/Register '' false", "text %1/Network 'internet' false", "bool %1/Locked false",
              "bool %1/DefaultProfile false", "bool %1/NeedUserIDPass true", "bool %1/RemPassword false"})
            expected += "get " + key.arg(group);
        return expected;
    }
    // The calls that write unusualRecord("new name").
    static QStringList written(const QString& group)
    {
        const SIP_PROFILE_CONTENT record = unusualRecord("new name");
        const QString text = "set text " + group + "/%1 '%2' false";
        const QString truth = "set bool " + group + "/%1 %2";
        return {text.arg("DisplayName", record.displayName),
                text.arg("Server", record.server),
                "set unsigned " + group + "/PortNum 4294967295",
                text.arg("UserID", record.userID),
                text.arg("Password", record.password),
                truth.arg("AutoConnect", "false"),
                text.arg("Register", record.registerValue),
                text.arg("Network", record.network),
                truth.arg("Locked", "true"),
                truth.arg("DefaultProfile", "true"),
                truth.arg("NeedUserIDPass", "false"),
                truth.arg("RemPassword", "true")};
    }
    static QStringList withinOneManager(const QStringList& expected)
    {
        return QStringList(OPENED) + expected + QStringList("close");
    }

    SETUP_SIP_Agent* store;
};

TEST_F(StoreCalls, LoadsThroughOneManager)
{
    SETUP_SIP_Agent::cleanup();
    SETUP_SIP_Agent::instance();
    QStringList expected = {"get int ProfileSummary/TotalProfile 0"};
    for (const QString group : {"Profile0", "Profile1"})
        expected += QStringList("get text " + group + "/DisplayName '' false") + read(group);
    EXPECT_EQ(calls, withinOneManager(expected));
}

TEST_F(StoreCalls, AnswersFromMemory)
{
    SIP_PROFILE_CONTENT record;
    QString group;
    store->getProfileInfo(record, "B");
    store->isProfileExisted("B");
    store->isProfileLocked("B");
    store->isProfileDefault("B");
    store->isProfileNeedUserAndPass("B");
    store->getProfileGroupName("B", group);
    EXPECT_EQ(calls, QStringList());
}

TEST_F(StoreCalls, ChangesAProfileThroughOneManager)
{
    SIP_PROFILE_CONTENT record = unusualRecord("new name");
    store->setProfileInfo(record, "B");
    EXPECT_EQ(calls, withinOneManager(written("Profile1")));
}

TEST_F(StoreCalls, AddsAProfileThroughOneManagerTotalFirst)
{
    SIP_PROFILE_CONTENT record = unusualRecord("new name");
    store->setProfileInfo(record, "C");
    EXPECT_EQ(calls,
              withinOneManager(QStringList("set int ProfileSummary/TotalProfile 3") + written("Profile2")));
}

TEST_F(StoreCalls, DeletesAProfileThroughOneManager)
{
    store->deleteProfile("A");
    EXPECT_EQ(calls, withinOneManager({"clear Profile0", "set int ProfileSummary/TotalProfile 1"}));
}

TEST_F(StoreCalls, StoresABooleanInPlaceOfADeletedDefault)
{
    store->deleteProfile("B");
    EXPECT_EQ(calls, withinOneManager({"clear Profile1", "set int ProfileSummary/TotalProfile 1",
                                       "set bool SystemDefault/Profile true"}));
}

TEST_F(StoreCalls, MovesTheDefaultThroughOneManager)
{
    store->setDefaultProfile("A");
    EXPECT_EQ(calls, withinOneManager({"set bool Profile1/DefaultProfile false",
                                       "set bool Profile0/DefaultProfile true",
                                       "set text SystemDefault/Profile 'Profile0' false"}));
}

TEST_F(StoreCalls, MakesNoManagerWithoutAChange)
{
    store->deleteProfile("C");
    store->setDefaultProfile("C");
    store->setDefaultProfile("B");
    EXPECT_EQ(calls, QStringList());
}

TEST_F(StoreCalls, ReadsAndWritesTheLastInputThroughOneManagerEach)
{
    QString user;
    QString password;
    bool remember = true;
    SETUP_SIP_Agent::getLastInputUserIDPassword(user, password, remember);
    EXPECT_EQ(calls, withinOneManager({"get text InputSettings/UserID '' false",
                                       "get text InputSettings/Password '' false",
                                       "get bool InputSettings/RemPassword false"}));
    calls.clear();
    SETUP_SIP_Agent::saveLastInputUserIDPassword("u", "p", true);
    EXPECT_EQ(calls, withinOneManager({"set text InputSettings/UserID 'u' false",
                                       "set text InputSettings/Password 'p' false",
                                       "set bool InputSettings/RemPassword true"}));
}

TEST_F(StoreCalls, ReadsOneGroupThroughOneManager)
{
    QString group = "Profile1";
    SIP_PROFILE_CONTENT record;
    SETUP_SIP_Agent::getProfileByName(group, record);
    EXPECT_EQ(calls, withinOneManager(read(group)));
    calls.clear();
    SETUP_SIP_Agent::getProfileDisplayName(group);
    EXPECT_EQ(calls, withinOneManager({"get text Profile1/DisplayName '' false"}));
    calls.clear();
    SETUP_SIP_Agent::getDefaultProfile();
    EXPECT_EQ(calls, withinOneManager({"get text SystemDefault/Profile '' false"}));
}

TEST_F(StoreCalls, AsksTheDaemonAndDestroysItsHandle)
{
    QString group = "Profile1";
    EXPECT_TRUE(SETUP_SIP_Agent::isConnected(group));
    EXPECT_EQ(calls, QStringList({"construct", "status of Profile1", "destruct"}));
}

TEST_F(StoreCalls, IsNotConnectedAfterAFailedAnswer)
{
    QString group = "Profile1";
    storeCalls::daemon.answers = 1;
    EXPECT_FALSE(SETUP_SIP_Agent::isConnected(group));
    EXPECT_EQ(calls, QStringList({"construct", "status of Profile1", "destruct"}));
}

TEST_F(StoreCalls, DestroysTheHandleOfAFailedConstruction)
{
    QString group = "Profile1";
    storeCalls::daemon.constructs = 1;
    EXPECT_FALSE(SETUP_SIP_Agent::isConnected(group));
    EXPECT_EQ(calls, QStringList({"construct", "destruct"}));
    calls.clear();
    storeCalls::daemon.givesHandle = false;
    EXPECT_FALSE(SETUP_SIP_Agent::isConnected(group));
    EXPECT_EQ(calls, QStringList("construct"));
}

} // namespace
