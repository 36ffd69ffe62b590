// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ChildProcess.h"
#include "SETUP_SET_Manager.h"
#include "StoreTest.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <fcntl.h>
#include <sys/resource.h>
#include <type_traits>

namespace {

using ProfileStore = StoreTest;

static_assert(SETUP_SIP_Agent::MAX_SIP_PROFILE == 10);
static_assert(std::is_same_v<decltype(SETUP_SIP_Agent::MAX_SIP_PROFILE), const int>);
static_assert(!std::is_polymorphic_v<SETUP_SIP_Agent> && !std::is_polymorphic_v<SIP_PROFILE_CONTENT>);
static_assert(std::is_copy_constructible_v<SIP_PROFILE_CONTENT> &&
              std::is_copy_assignable_v<SIP_PROFILE_CONTENT>);
static_assert(sizeof SIP_PROFILE_CONTENT::portNum == 4);

TEST(ProfileRecord, HasItsFieldsInTheirOrder)
{
    constexpr size_t text = sizeof(QString);
    EXPECT_EQ(offsetof(SIP_PROFILE_CONTENT, displayName), 0U);
    EXPECT_EQ(offsetof(SIP_PROFILE_CONTENT, server), text);
    EXPECT_EQ(offsetof(SIP_PROFILE_CONTENT, portNum), 2 * text);
    EXPECT_LT(offsetof(SIP_PROFILE_CONTENT, portNum), offsetof(SIP_PROFILE_CONTENT, userID));
    const size_t afterPort = offsetof(SIP_PROFILE_CONTENT, userID);
    EXPECT_EQ(offsetof(SIP_PROFILE_CONTENT, password), afterPort + text);
    EXPECT_EQ(offsetof(SIP_PROFILE_CONTENT, registerValue), afterPort + 2 * text);
    EXPECT_EQ(offsetof(SIP_PROFILE_CONTENT, network), afterPort + 3 * text);
    const size_t booleans = afterPort + 4 * text;
    EXPECT_EQ(offsetof(SIP_PROFILE_CONTENT, autoConnect), booleans);
    EXPECT_EQ(offsetof(SIP_PROFILE_CONTENT, locked), booleans + 1);
    EXPECT_EQ(offsetof(SIP_PROFILE_CONTENT, defaultProfile), booleans + 2);
    EXPECT_EQ(offsetof(SIP_PROFILE_CONTENT, needUserIDPass), booleans + 3);
    EXPECT_EQ(offsetof(SIP_PROFILE_CONTENT, remPassword), booleans + 4);
}

const QByteArray NEW_PROFILE_LINES = "Server=\n"
                                     "PortNum=5060\n"
                                     "UserID=\n"
                                     "Password=\n"
                                     "AutoConnect=true\n"
                                     "Register=\n"
                                     "Network=internet\n"
                                     "Locked=false\n"
                                     "DefaultProfile=false\n"
                                     "NeedUserIDPass=true\n"
                                     "RemPassword=false\n";

QByteArray group(int number, const QByteArray& name)
{
    return "[Profile" + QByteArray::number(number) + "]\nDisplayName=" + name + "\n\n";
}

QByteArray summary(int total)
{
    return "[ProfileSummary]\nTotalProfile=" + QByteArray::number(total) + "\n\n";
}

QString valueOf(const QString& path, const QString& group, const QString& key)
{
    QString value;
    SETUP_SET_Manager(path, false).getSettingInfo(group, key, value, "(none)", false);
    return value;
}

// The path and the record.

TEST_F(ProfileStore, KeepsItsFileInTheSettingDirectory)
{
    for (const QString& end : {QString(), QString("/")}) {
        qputenv("ORMU_SETTING_DIR", QFile::encodeName(directory() + end));
        QString path;
        SETUP_SIP_Agent::getSIPSetupPath(path);
        EXPECT_EQ(path, directory() + "/ormu_sipsetup.cfg");
    }
    qputenv("ORMU_SETTING_DIR", "");
    QString path = "before";
    SETUP_SIP_Agent::getSIPSetupPath(path);
    EXPECT_EQ(path, "/ormu_sipsetup.cfg");
}

TEST_F(ProfileStore, KeepsItsPathWhenTheDirectoryChangesLater)
{
    store();
    qputenv("ORMU_SETTING_DIR", QFile::encodeName(directory() + "/other"));
    addProfile("A");
    EXPECT_TRUE(QFile::exists(file()));
    QString firstGroup = "Profile0";
    EXPECT_EQ(SETUP_SIP_Agent::getProfileDisplayName(firstGroup), "");
}

TEST_F(ProfileStore, FillsARecordWithTheValuesOfANewProfile)
{
    SIP_PROFILE_CONTENT record = unusualRecord("A");
    store().setDefaultProfileInfo(record);
    EXPECT_EQ(record.displayName, "");
    EXPECT_EQ(record.server, "");
    EXPECT_EQ(record.portNum, 5060u);
    EXPECT_EQ(record.userID, "");
    EXPECT_EQ(record.password, "");
    EXPECT_EQ(record.registerValue, "");
    EXPECT_EQ(record.network, "internet");
    EXPECT_TRUE(record.autoConnect);
    EXPECT_FALSE(record.locked);
    EXPECT_FALSE(record.defaultProfile);
    EXPECT_TRUE(record.needUserIDPass);
    EXPECT_FALSE(record.remPassword);
}

TEST_F(ProfileStore, AbortsWithoutAManagerToReadFrom)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    SIP_PROFILE_CONTENT record;
    EXPECT_EXIT(SETUP_SIP_Agent::getProfileInfoFromFile(nullptr, record, "Profile0"),
                testing::KilledBySignal(SIGABRT), "SETUP_SIP_Agent.cpp:[0-9]+\tormu assert failed !");
}

TEST_F(ProfileStore, ReadsMissingKeysAsTheirDefaults)
{
    SIP_PROFILE_CONTENT missing = unusualRecord("A");
    SETUP_SET_Manager manager(file(), false);
    SETUP_SIP_Agent::getProfileInfoFromFile(&manager, missing, "Profile0");
    expectEqual(missing, newRecord(QString()));

    writeFile("[Profile7]\nDisplayName=A\nLocked=true\nPortNum=none\n");
    SIP_PROFILE_CONTENT record = unusualRecord("B");
    QString seventh = "Profile7";
    EXPECT_TRUE(SETUP_SIP_Agent::getProfileByName(seventh, record));
    SIP_PROFILE_CONTENT expected = newRecord("A");
    expected.locked = true;
    expectEqual(record, expected);
}

TEST_F(ProfileStore, ReadsEveryFieldBack)
{
    SIP_PROFILE_CONTENT record = unusualRecord("A");
    store().setProfileInfo(record, "A");
    reopenedStore();
    expectEqual(recordOf("A"), record);
}

// The static reads and the credentials.

TEST_F(ProfileStore, StaticOperationsMakeNoStore)
{
    // Loading this file would never end.
    writeFile(summary(99) + group(0, "A") + "[SystemDefault]\nProfile=Profile0\n");
    QString first = "Profile0";
    SIP_PROFILE_CONTENT record;
    EXPECT_TRUE(SETUP_SIP_Agent::getProfileByName(first, record));
    EXPECT_EQ(SETUP_SIP_Agent::getProfileDisplayName(first), "A");
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "Profile0");
    EXPECT_TRUE(SETUP_SIP_Agent::saveLastInputUserIDPassword("u", "p", true));
    EXPECT_EQ(lastInput().user, "u");
    SETUP_SIP_Agent::cleanup();
}

TEST_F(ProfileStore, StaticOperationsFollowTheDirectory)
{
    writeFile(group(0, "A") + "[SystemDefault]\nProfile=Profile0\n");
    QString first = "Profile0";
    EXPECT_EQ(SETUP_SIP_Agent::getProfileDisplayName(first), "A");
    const QByteArray old = qgetenv("ORMU_SETTING_DIR");
    const QTemporaryDir other;
    qputenv("ORMU_SETTING_DIR", other.path().toLocal8Bit());
    SIP_PROFILE_CONTENT record;
    EXPECT_FALSE(SETUP_SIP_Agent::getProfileByName(first, record));
    EXPECT_EQ(SETUP_SIP_Agent::getProfileDisplayName(first), "");
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "");
    SETUP_SIP_Agent::saveLastInputUserIDPassword("u", "p", true);
    EXPECT_TRUE(QFile::exists(other.filePath("ormu_sipsetup.cfg")));
    EXPECT_EQ(lastInput().user, "u");
    QString path;
    SETUP_SIP_Agent::getSIPSetupPath(path);
    EXPECT_EQ(path, other.filePath("ormu_sipsetup.cfg"));
    qputenv("ORMU_SETTING_DIR", old);
    EXPECT_EQ(lastInput().user, "");
}

TEST_F(ProfileStore, ReturnsTheCountOfTheSummary)
{
    addProfiles({"A", "B"});
    EXPECT_EQ(reopenedStore().getSIPProfileList(), 2);
}

TEST_F(ProfileStore, StaticOperationsReadTheFileOnly)
{
    addProfile("A");
    writeFile("[Profile0]\nDisplayName=changed\n[SystemDefault]\nProfile=Profile5\n");
    QString first = "Profile0";
    EXPECT_EQ(SETUP_SIP_Agent::getProfileDisplayName(first), "changed");
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "Profile5");
    EXPECT_EQ(names(), QStringList("A"));
}

TEST_F(ProfileStore, FindsNoProfileWithoutADisplayName)
{
    writeFile("[Profile0]\nServer=sip.example\n\n[Profile1]\nDisplayName=\n");
    for (QString absent : {QString("Profile0"), QString("Profile1"), QString("Profile2"), QString()}) {
        SIP_PROFILE_CONTENT record = unusualRecord("A");
        EXPECT_FALSE(SETUP_SIP_Agent::getProfileByName(absent, record));
        EXPECT_EQ(record.displayName, "");
        EXPECT_EQ(SETUP_SIP_Agent::getProfileDisplayName(absent), "");
    }
}

TEST_F(ProfileStore, ReadsMissingCredentialsAsEmpty)
{
    const LastInput input = lastInput();
    EXPECT_EQ(input.user, "");
    EXPECT_EQ(input.password, "");
    EXPECT_FALSE(input.remember);
    EXPECT_TRUE(entries().isEmpty());
}

TEST_F(ProfileStore, SavesThePasswordAlsoWithoutRemember)
{
    EXPECT_TRUE(SETUP_SIP_Agent::saveLastInputUserIDPassword("user", " pass,word ", false));
    EXPECT_EQ(readFile(), "[InputSettings]\nUserID=user\nPassword=\\spass,word\\s\nRemPassword=false\n");
    const LastInput input = lastInput();
    EXPECT_EQ(input.user, "user");
    EXPECT_EQ(input.password, " pass,word ");
    EXPECT_FALSE(input.remember);
}

// The life of the store.

TEST_F(ProfileStore, IsOneStoreUntilCleanup)
{
    SETUP_SIP_Agent* const first = SETUP_SIP_Agent::instance();
    EXPECT_EQ(SETUP_SIP_Agent::instance(), first);
    SETUP_SIP_Agent::cleanup();
    SETUP_SIP_Agent::cleanup();
    EXPECT_NE(SETUP_SIP_Agent::instance(), nullptr);
}

// Other programs read the names at this place.
TEST_F(ProfileStore, HasItsNamesAtTheirGivenPlace)
{
    EXPECT_EQ(reinterpret_cast<const char*>(&store().displayNames) - reinterpret_cast<const char*>(&store()),
              sizeof(QString) + sizeof(QPtrList<SIP_PROFILE_CONTENT>) + sizeof(QValueList<QString>));
}

TEST_F(ProfileStore, LoadsTheFileOnceAndAgainAfterCleanup)
{
    EXPECT_EQ(store().profileCount(), 0);
    EXPECT_TRUE(entries().isEmpty());
    writeFile(summary(1) + group(0, "A"));
    EXPECT_TRUE(names().isEmpty());
    reopenedStore();
    EXPECT_EQ(names(), QStringList("A"));
    EXPECT_EQ(store().profileCount(), 1);
    writeFile("");
    EXPECT_EQ(reopenedStore().profileCount(), 0);
}

// Adding and changing.

TEST_F(ProfileStore, WritesTheKeysOfTheFirstProfileInOrder)
{
    addProfile("A");
    EXPECT_EQ(readFile(),
              "[ProfileSummary]\nTotalProfile=1\n\n[Profile0]\nDisplayName=A\n" + NEW_PROFILE_LINES);
    EXPECT_EQ(FileIdentity(file()).mode & 07777, 0600u);
}

TEST_F(ProfileStore, MakesAMissingDirectory)
{
    qputenv("ORMU_SETTING_DIR", QFile::encodeName(directory() + "/missing"));
    addProfile("A");
    EXPECT_EQ(valueOf(directory() + "/missing/ormu_sipsetup.cfg", "Profile0", "DisplayName"), "A");
}

TEST_F(ProfileStore, AddsMoreProfilesThanTheUserMayCreate)
{
    for (int i = 0; i < 12; ++i)
        addProfile(QString::number(i));
    EXPECT_EQ(reopenedStore().profileCount(), 12);
    EXPECT_EQ(groupOf("11"), "Profile11");
}

TEST_F(ProfileStore, ListsANewProfileByTheGivenName)
{
    SIP_PROFILE_CONTENT record;
    record.displayName = "recorded";
    store().setProfileInfo(record, "given");
    EXPECT_EQ(names(), QStringList("given"));
    reopenedStore();
    EXPECT_EQ(names(), QStringList("recorded"));
}

TEST_F(ProfileStore, KeepsTheNameOfAChangedProfile)
{
    addProfile("A");
    SIP_PROFILE_CONTENT record = unusualRecord("B");
    store().setProfileInfo(record, "A");
    EXPECT_EQ(names(), QStringList("A"));
    EXPECT_TRUE(store().isProfileExisted("A"));
    EXPECT_FALSE(store().isProfileExisted("B"));
    expectEqual(recordOf("A"), record);
    EXPECT_EQ(store().profileCount(), 1);
    EXPECT_EQ(valueOf(file(), "Profile0", "DisplayName"), "B");
    reopenedStore();
    EXPECT_EQ(names(), QStringList("B"));
}

TEST_F(ProfileStore, WritesTheDefaultFlagWithoutSettingTheDefault)
{
    SIP_PROFILE_CONTENT record = unusualRecord("A");
    store().setProfileInfo(record, "A");
    EXPECT_EQ(valueOf(file(), "Profile0", "DefaultProfile"), "true");
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "");
}

TEST_F(ProfileStore, KeepsARecordOfItsOwn)
{
    SIP_PROFILE_CONTENT record = unusualRecord("A");
    store().setProfileInfo(record, "A");
    record.server = "changed";
    EXPECT_EQ(recordOf("A").server, "sip.example.org");
}

TEST_F(ProfileStore, WritesNothingForAnUnchangedProfile)
{
    addProfile("A");
    const FileIdentity before(file());
    addProfile("A");
    EXPECT_EQ(FileIdentity(file()), before);
}

// Queries.

TEST_F(ProfileStore, AnswersForTheProfilesThatItHas)
{
    addProfile("A");
    SIP_PROFILE_CONTENT record = unusualRecord("B");
    store().setProfileInfo(record, "B");
    EXPECT_FALSE(store().isProfileLocked("A"));
    EXPECT_TRUE(store().isProfileLocked("B"));
    EXPECT_FALSE(store().isProfileDefault("A"));
    EXPECT_TRUE(store().isProfileDefault("B"));
    EXPECT_TRUE(store().isProfileNeedUserAndPass("A"));
    EXPECT_FALSE(store().isProfileNeedUserAndPass("B"));
    EXPECT_EQ(groupOf("B"), "Profile1");
}

TEST_F(ProfileStore, TreatsAnUnknownProfileAsLocked)
{
    addProfile("A");
    for (const char* name : {"B", "a", "A ", ""}) {
        EXPECT_FALSE(store().isProfileExisted(name));
        EXPECT_TRUE(store().isProfileLocked(name));
        EXPECT_TRUE(store().isProfileNeedUserAndPass(name));
        EXPECT_FALSE(store().isProfileDefault(name));
        QString groupName = "untouched";
        EXPECT_FALSE(store().getProfileGroupName(name, groupName));
        EXPECT_EQ(groupName, "untouched");
        SIP_PROFILE_CONTENT record = unusualRecord("untouched");
        store().getProfileInfo(record, name);
        expectEqual(record, unusualRecord("untouched"));
    }
}

TEST_F(ProfileStore, IgnoresChangesOfAnUnknownProfile)
{
    addProfile("A");
    const FileIdentity before(file());
    store().deleteProfile("B");
    store().setDefaultProfile("B");
    store().clearDefaultProfileFlag("B");
    EXPECT_EQ(FileIdentity(file()), before);
    EXPECT_EQ(store().profileCount(), 1);
}

// Deleting.

TEST_F(ProfileStore, ReusesTheGroupOfADeletedProfile)
{
    addProfiles({"A", "B", "C"});
    store().deleteProfile("B");
    EXPECT_EQ(names(), QStringList({"A", "C"}));
    EXPECT_EQ(groupOf("C"), "Profile2");
    EXPECT_EQ(valueOf(file(), "Profile1", "DisplayName"), "(none)");
    EXPECT_EQ(valueOf(file(), "Profile1", "Server"), "(none)");
    EXPECT_EQ(valueOf(file(), "Profile0", "DisplayName"), "A");
    EXPECT_EQ(valueOf(file(), "Profile2", "DisplayName"), "C");
    EXPECT_EQ(valueOf(file(), "ProfileSummary", "TotalProfile"), "2");

    addProfile("D");
    EXPECT_EQ(groupOf("D"), "Profile1");
    EXPECT_EQ(names(), QStringList({"A", "C", "D"}));
    reopenedStore();
    EXPECT_EQ(names(), QStringList({"A", "D", "C"}));
}

TEST_F(ProfileStore, DeletesAProfileNamedByItsOwnEntry)
{
    addProfiles({"A", "B"});
    store().deleteProfile(std::as_const(store().displayNames)[0]);
    EXPECT_EQ(names(), QStringList("B"));
    reopenedStore();
}

TEST_F(ProfileStore, StoresTrueInPlaceOfADeletedDefault)
{
    addProfiles({"A", "B", "C"});
    store().setDefaultProfile("A");
    store().deleteProfile("C");
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "Profile0");
    EXPECT_TRUE(store().isProfileDefault("A"));
    store().deleteProfile("A");
    bool isTrue = false;
    SETUP_SET_Manager(file(), false).getSettingInfo("SystemDefault", "Profile", isTrue, false);
    EXPECT_TRUE(isTrue);
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "true");
    EXPECT_FALSE(store().isProfileDefault("B"));
}

TEST_F(ProfileStore, KnowsADeletedDefaultByItsFlag)
{
    writeFile(summary(3) + "[Profile0]\nDisplayName=A\nDefaultProfile=true\n[Profile1]\nDisplayName=B\n"
                           "[Profile2]\nDisplayName=C\n[SystemDefault]\nProfile=Profile1\n");
    store().deleteProfile("B");
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "Profile1");
    store().deleteProfile("A");
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "true");
}

TEST_F(ProfileStore, LeavesAnEmptySummaryBehindTheLastProfile)
{
    // Twice, because nothing may accumulate in the file.
    for (int round = 0; round < 2; ++round) {
        addProfile("A");
        store().deleteProfile("A");
        EXPECT_EQ(readFile(), "[ProfileSummary]\nTotalProfile=0\n\n");
    }
    EXPECT_EQ(reopenedStore().profileCount(), 0);
}

// The default.

TEST_F(ProfileStore, MovesTheDefaultFromOneProfileToAnother)
{
    addProfiles({"A", "B"});
    store().setDefaultProfile("A");
    store().setDefaultProfile("B");
    for (int opening = 0; opening < 2; ++opening) {
        EXPECT_FALSE(store().isProfileDefault("A"));
        EXPECT_TRUE(store().isProfileDefault("B"));
        EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "Profile1");
        reopenedStore();
    }
}

TEST_F(ProfileStore, WritesNothingToSetTheDefaultAgain)
{
    addProfile("A");
    store().setDefaultProfile("A");
    // A write would correct this.
    writeFile(readFile() + "\n# by hand\n[SystemDefault]\nProfile=Profile9\n");
    const timespec past[2] = {{1000000000, 5}, {1000000000, 7}};
    ASSERT_EQ(utimensat(AT_FDCWD, QFile::encodeName(file()).constData(), past, 0), 0);
    const FileIdentity before(file());
    const QByteArray bytes = readFile();
    store().setDefaultProfile("A");
    EXPECT_EQ(FileIdentity(file()), before);
    EXPECT_EQ(readFile(), bytes);
}

TEST_F(ProfileStore, ClearsOnlyTheFirstOfTwoDefaults)
{
    writeFile(summary(3) + "[Profile0]\nDisplayName=A\n[Profile1]\nDisplayName=B\nDefaultProfile=true\n"
                           "[Profile2]\nDisplayName=C\nDefaultProfile=true\n");
    store().setDefaultProfile("A");
    EXPECT_TRUE(store().isProfileDefault("A"));
    EXPECT_FALSE(store().isProfileDefault("B"));
    EXPECT_TRUE(store().isProfileDefault("C"));
    EXPECT_EQ(valueOf(file(), "Profile2", "DefaultProfile"), "true");
}

TEST_F(ProfileStore, ClearsAFlagBeforeTheDefault)
{
    writeFile(summary(2) + "[Profile0]\nDisplayName=A\nDefaultProfile=true\n"
                           "[Profile1]\nDisplayName=B\nDefaultProfile=true\n");
    store().setDefaultProfile("B");
    EXPECT_FALSE(store().isProfileDefault("A"));
    EXPECT_EQ(valueOf(file(), "Profile0", "DefaultProfile"), "false");
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "Profile1");
}

TEST_F(ProfileStore, ClearsTheDefaultFlagInTheFileAlone)
{
    addProfile("A");
    store().setDefaultProfile("A");
    store().clearDefaultProfileFlag("A");
    EXPECT_EQ(valueOf(file(), "Profile0", "DefaultProfile"), "false");
    EXPECT_TRUE(store().isProfileDefault("A"));
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "Profile0");
}

// The scan of the group numbers.

TEST_F(ProfileStore, FindsTheProfileBehindAGap)
{
    writeFile(summary(2) + group(0, "A") + group(2, "C"));
    EXPECT_EQ(names(), QStringList({"A", "C"}));
    EXPECT_EQ(groupOf("C"), "Profile2");
}

TEST_F(ProfileStore, ListsTheNextProfileTwiceAfterADeletion)
{
    addProfiles({"A", "B", "C"});
    store().deleteProfile("A");
    EXPECT_EQ(names(), QStringList({"B", "C"}));
    reopenedStore();
    EXPECT_EQ(names(), QStringList({"B", "B"}));
}

TEST_F(ProfileStore, FindsAProfileOfAHighNumber)
{
    writeFile(summary(1) + group(100000, "far"));
    EXPECT_EQ(names(), QStringList("far"));
}

TEST_F(ProfileStore, ScansWithoutEndWhenTheSummaryCountsTooMany)
{
    writeFile(summary(2) + group(0, "A"));
    const int signal = -runInChild([] {
        const rlimit oneSecond = {1, 1};
        setrlimit(RLIMIT_CPU, &oneSecond);
        store();
        return 0;
    });
    EXPECT_TRUE(signal == SIGXCPU || signal == SIGKILL) << signal;
}

TEST_F(ProfileStore, LoadsNothingWithoutACount)
{
    for (const char* total : {"-1", "many", "", "99999999999"}) {
        writeFile(QByteArray("[ProfileSummary]\nTotalProfile=") + total + "\n\n" + group(0, "A"));
        reopenedStore();
        EXPECT_TRUE(names().isEmpty()) << total;
    }
}

TEST_F(ProfileStore, TakesTheFirstOfTwoEqualNames)
{
    writeFile(summary(2) + group(0, "A") + "[Profile1]\nDisplayName=A\nLocked=true\n");
    EXPECT_EQ(names(), QStringList({"A", "A"}));
    EXPECT_EQ(groupOf("A"), "Profile0");
    EXPECT_FALSE(store().isProfileLocked("A"));
}

TEST_F(ProfileStore, RemovesBothNamesOfAProfileFoundTwice)
{
    writeFile(summary(3) + group(0, "A") + group(2, "C") + group(3, "D"));
    EXPECT_EQ(names(), QStringList({"A", "C", "C"}));
    EXPECT_EQ(store().profileCount(), 3);
    store().deleteProfile("C");
    EXPECT_EQ(names(), QStringList("A"));
    EXPECT_EQ(store().profileCount(), 2);
    EXPECT_EQ(valueOf(file(), "Profile2", "DisplayName"), "(none)");
    EXPECT_EQ(valueOf(file(), "Profile3", "DisplayName"), "D");
    // The list of records still holds the other "C".
    addProfile("X");
    EXPECT_EQ(names(), QStringList({"A", "X"}));
    EXPECT_EQ(recordOf("X").displayName, "C");
    EXPECT_EQ(valueOf(file(), "Profile1", "DisplayName"), "X");
}

TEST_F(ProfileStore, SurvivesListsOfDifferentLengths)
{
    // Two profiles of one name, and one that is found three times.
    writeFile(summary(5) + group(0, "A") + group(1, "A") + group(4, "C"));
    ASSERT_EQ(names(), QStringList({"A", "A", "C", "C", "C"}));
    store().deleteProfile("A");
    addProfile("W");
    store().deleteProfile("W");
    addProfile("V");
    store().setDefaultProfile("V");
    for (const QString& name : names()) {
        recordOf(name);
        groupOf(name);
        store().isProfileLocked(name);
    }
    store().deleteProfile("V");
    store().deleteProfile("C");
    addProfile("X");
}

} // namespace
