// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ChildProcess.h"
#include "FailureLog.h"
#include "SETUP_SET_Manager.h"
#include "StoreTest.h"
#include "SystemCallFault.h"

#include <QFile>

#include <cerrno>
#include <iostream>

namespace {

// A store of three profiles, the second the default, and the file of it.
class StoreFaults : public StoreTest
{
protected:
    StoreFaults()
    {
        addThree();
        bytes_ = readFile();
    }

    QByteArray bytes_;
    const WarningLog warnings_;
    FailureLog log_;
};

struct Operation
{
    const char* name;
    void (*run)();
};

const Operation OPERATIONS[] = {
    {"AddProfile", StoreTest::addOne},
    {"ChangeProfile", StoreTest::changeOne},
    {"DeleteProfile", StoreTest::deleteDefault},
    {"SetDefaultProfile", StoreTest::moveDefault},
    {"ClearDefaultProfileFlag", [] { StoreTest::store().clearDefaultProfileFlag("B"); }},
    {"SaveLastInput", StoreTest::saveInput},
};

class StoreOperation : public StoreFaults, public testing::WithParamInterface<Operation>
{
};

TEST_P(StoreOperation, WritesOneTemporaryFileAndRenamesItOnce)
{
    resetCallCounts();
    GetParam().run();
    EXPECT_EQ(callCount(SystemCall::CreateTemporary), 1);
    EXPECT_EQ(callCount(SystemCall::Rename), 1);
    EXPECT_GE(callCount(SystemCall::Fsync), 1);
    EXPECT_LE(callCount(SystemCall::Fsync), 2);
    EXPECT_NE(readFile(), bytes_);
    std::cout << GetParam().name << ": " << callCount(SystemCall::CreateTemporary) << " temporary file, "
              << callCount(SystemCall::Rename) << " rename, " << callCount(SystemCall::Fsync) << " fsyncs, "
              << callCount(SystemCall::Open) << " other opens\n";
}

TEST_P(StoreOperation, ReportsEachFailedCallOfASave)
{
    int faults = 0;
    for (const SystemCall call :
         {SystemCall::CreateTemporary, SystemCall::Write, SystemCall::Fsync, SystemCall::Rename}) {
        for (const int error : {ENOSPC, EIO}) {
            for (int passing = 0;; ++passing) {
                writeFile(bytes_);
                ASSERT_FALSE(beginSettings(file()).has_value());
                reopenedStore();
                log_.clear();
                const SystemCallFault fault(call, error, passing, 1);
                GetParam().run();
                if (fault.fired() == 0)
                    break;
                ++faults;
                ASSERT_EQ(log_.only().kind, SettingsFailure::NotSaved);
                ASSERT_EQ(log_.only().reason, error == EIO ? "input/output error" : "no room on the disk");
                ASSERT_EQ(entries(), QStringList("ormu_sipsetup.cfg"));
                const bool isDirectory = call == SystemCall::Fsync && passing == 1;
                ASSERT_EQ(readFile() == bytes_, !isDirectory);
            }
            ASSERT_TRUE(log_.failures().isEmpty());
        }
    }
    EXPECT_GE(faults, 10);
    std::cout << "[ FAULTS   ] " << GetParam().name << ": " << faults << " writes that failed\n";
}

INSTANTIATE_TEST_SUITE_P(Each, StoreOperation, testing::ValuesIn(OPERATIONS),
                         [](const auto& operation) { return std::string(operation.param.name); });

TEST_F(StoreFaults, AnswerFromMemoryAfterAFailedWrite)
{
    const SystemCallFault fault(SystemCall::Fsync, EIO);
    addProfile("D");
    EXPECT_GT(fault.fired(), 0);
    EXPECT_EQ(names(), QStringList({"A", "B", "C", "D"}));
    EXPECT_EQ(store().profileCount(), 4);
}

// Everything that a list does with its file, in this order.
const Operation USES[] = {
    {"open the list", [] { StoreTest::store(); }},
    {"read a profile",
     [] {
         QString group = "Profile1";
         SIP_PROFILE_CONTENT record;
         SETUP_SIP_Agent::getProfileByName(group, record);
     }},
    {"add a profile", StoreTest::addOne},
    {"change it",
     [] {
         SIP_PROFILE_CONTENT record = unusualRecord("D");
         StoreTest::store().setProfileInfo(record, "D");
     }},
    {"set the default", [] { StoreTest::store().setDefaultProfile("D"); }},
    {"read the last input", [] { StoreTest::lastInput(); }},
    {"save the last input", StoreTest::saveInput},
    {"delete a profile", [] { StoreTest::store().deleteProfile("D"); }},
    {"add another", [] { addProfile("E"); }},
};

TEST_F(StoreFaults, ForbidLaterSavesAfterAnyFailedRead)
{
    int faults = 0;
    for (const SystemCall call : {SystemCall::Read, SystemCall::Open}) {
        for (int passing = 0;; ++passing) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(call) << ", " << passing);
            SETUP_SIP_Agent::cleanup();
            writeFile(bytes_);
            ASSERT_FALSE(beginSettings(file()).has_value());
            log_.clear();
            const SystemCallFault fault(call, EIO, passing, 1);
            bool hasFailed = false;
            for (const Operation& use : USES) {
                const FileIdentity before(file());
                use.run();
                hasFailed = hasFailed || isSettingsFileUnread(file());
                ASSERT_TRUE(!hasFailed || FileIdentity(file()) == before) << use.name;
            }
            if (fault.fired() == 0)
                break;
            // An open that fails may also be the lock file's, without which a save goes on.
            ASSERT_TRUE(hasFailed || call == SystemCall::Open);
            ASSERT_EQ(hasFailed, !log_.failures().isEmpty());
            faults += hasFailed;

            // The list is opened anew: it shows what is in the file, and saves again.
            SETUP_SIP_Agent::cleanup();
            ASSERT_FALSE(beginSettings(file()).has_value());
            ASSERT_TRUE(names().startsWith("A"));
            addProfile("F");
            ASSERT_EQ(reopenedStore().profileCount(), names().size());
            ASSERT_TRUE(names().contains("F"));
            ASSERT_TRUE(names().contains("B") && names().contains("C"));
        }
    }
    EXPECT_GE(faults, 20);
    std::cout << "[ FAULTS   ] " << faults << " reads that failed\n";
}

// As the edit screen renames a profile, with one save that fails.
class FailedRename : public StoreFaults
{
protected:
    FailedRename()
    {
        store().deleteProfile("B");
        const SystemCallFault fault(SystemCall::Rename, ENOSPC, 0, 1);
        addProfile("B renamed");
        EXPECT_EQ(fault.fired(), 1);
        EXPECT_EQ(log_.only().kind, SettingsFailure::NotSaved);
        log_.clear();
    }

    QStringList namesAfterReopening()
    {
        SETUP_SIP_Agent::cleanup();
        EXPECT_FALSE(beginSettings(file()).has_value());
        reopenedStore();
        return names();
    }
};

TEST_F(FailedRename, IsSavedWithTheNextSave)
{
    store().setDefaultProfile("C");
    EXPECT_EQ(namesAfterReopening(), QStringList({"A", "B renamed", "C"}));
    EXPECT_TRUE(log_.failures().isEmpty());
}

TEST_F(FailedRename, IsSavedWhenTheListCloses)
{
    SETUP_SIP_Agent::cleanup();
    endSettings(file());
    EXPECT_EQ(namesAfterReopening(), QStringList({"A", "B renamed", "C"}));
    EXPECT_TRUE(log_.failures().isEmpty());
}

TEST_F(FailedRename, IsReadAsIfItHadBeenSaved)
{
    QString group = "Profile1";
    EXPECT_EQ(SETUP_SIP_Agent::getProfileDisplayName(group), "B renamed");
}

TEST_F(FailedRename, IsReportedAgainAndDroppedWhenTheListCloses)
{
    {
        const SystemCallFault fault(SystemCall::Rename, ENOSPC);
        endSettings(file());
        EXPECT_EQ(log_.only().kind, SettingsFailure::NotSaved);
    }
    EXPECT_EQ(namesAfterReopening(), QStringList({"A", "C"}));
    addProfile("D");
    EXPECT_EQ(namesAfterReopening(), QStringList({"A", "D", "C"}));
}

TEST_F(StoreFaults, ReportAFullDiskUntilThereIsRoom)
{
    const int result = runOnOwnDisk(directory(), [&] {
        reopenedStore();
        int saved = 0;
        while (log_.failures().isEmpty() && saved < 1000) {
            const QByteArray before = saved == 0 ? QByteArray() : readFile();
            addProfile(QString("Profile %1 ").arg(saved) + QString(1000, u'x'));
            EXPECT_TRUE(log_.failures().isEmpty() || readFile() == before);
            saved += log_.failures().isEmpty();
        }
        EXPECT_GE(saved, 5);
        EXPECT_EQ(log_.only().kind, SettingsFailure::NotSaved);
        EXPECT_EQ(log_.only().reason, "no room on the disk");
        EXPECT_FALSE(beginSettings(file()).has_value());
        EXPECT_EQ(reopenedStore().profileCount(), saved);
        log_.clear();
        store().deleteProfile(names().last());
        EXPECT_TRUE(log_.failures().isEmpty());
        return HasFailure() ? 1 : 0;
    });
    if (result == NO_OWN_DISK)
        GTEST_SKIP() << "this user cannot have a disk of its own";
    EXPECT_EQ(result, 0);
}

TEST_F(StoreFaults, ReadTheFileOnceToLoadIt)
{
    SETUP_SIP_Agent::cleanup();
    resetCallCounts();
    store();
    EXPECT_EQ(callCount(SystemCall::Open), 1);
    EXPECT_EQ(callCount(SystemCall::Read), 1);
    EXPECT_EQ(callCount(SystemCall::CreateTemporary), 0);
}

// Whether the store's loading ends: whether the last of the counted profiles is found.
bool scanEnds(const QString& path)
{
    const SETUP_SET_Manager manager(path, false);
    int total = 0;
    manager.getSettingInfo("ProfileSummary", "TotalProfile", total, 0);
    for (int i = total - 1; i < total + 3; ++i) {
        QString name;
        manager.getSettingInfo(QString("Profile%1").arg(i), "DisplayName", name, QString(), false);
        if (!name.isEmpty())
            return true;
    }
    return total <= 0;
}

TEST_F(StoreFaults, LoadAFileCutAtAnyByteUnlessItCountsTooMany)
{
    int loaded = 0;
    for (qsizetype length = 0; length <= bytes_.size(); ++length) {
        writeFile(bytes_.first(length));
        SETUP_SIP_Agent::cleanup();
        for (QString group : {QString("Profile0"), QString("Profile2")}) {
            SIP_PROFILE_CONTENT record;
            SETUP_SIP_Agent::getProfileByName(group, record);
        }
        SETUP_SIP_Agent::getDefaultProfile();
        // A file that lost a profile's name, but not the summary, makes the store scan without end, as
        // intended.
        if (!scanEnds(file()))
            continue;
        ++loaded;
        ASSERT_TRUE(names().isEmpty() || names().startsWith("A")) << length;
    }
    EXPECT_GT(loaded, 20);
    EXPECT_LT(loaded, bytes_.size());
}

} // namespace
