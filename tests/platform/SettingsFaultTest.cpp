// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ManagerTest.h"
#include "SystemCallFault.h"

namespace {

class SettingsFault : public ManagerTest
{
protected:
    // Saves while calls of one kind fail. Returns the number of failed calls.
    int faultsOfSave(SystemCall call, int error, int passing = 0, int failing = SystemCallFault::ALL) const
    {
        const SystemCallFault fault(call, error, passing, failing);
        writeNew();
        return fault.fired();
    }
    void addOther() const { writeText(file(), "Group", "Other", "2"); }

    // The host begins anew; the next save succeeds.
    void expectSaveAfterBeginning()
    {
        log.clear();
        EXPECT_FALSE(beginSettings(file()).has_value());
        EXPECT_FALSE(isSettingsFileUnread(file()));
        writeNew();
        EXPECT_EQ(readFile(), NEW);
        EXPECT_TRUE(log.failures().isEmpty());
    }
};

struct FailingCall
{
    const char* name;
    SystemCall call;
    int error;
    int passing = 0;
};

std::string nameOf(const testing::TestParamInfo<FailingCall>& info)
{
    return info.param.name;
}

class SettingsWriteFault : public SettingsFault, public testing::WithParamInterface<FailingCall>
{
};

TEST_P(SettingsWriteFault, LeavesTheOldFileAndNothingElse)
{
    writeFile(OLD);
    {
        const SystemCallFault fault(GetParam().call, GetParam().error);
        expectFailedSave(GetParam().error == EIO ? "input/output error" : "no room on the disk");
        ASSERT_GT(fault.fired(), 0);
    }
    EXPECT_EQ(entries(), QStringList(FILE_NAME));
    EXPECT_EQ(warnings.lines().size(), 1);

    writeNew();
    EXPECT_EQ(readFile(), NEW);
}

TEST_P(SettingsWriteFault, LeavesADamagedFileAndKeepsItOnce)
{
    writeFile(GARBAGE);
    for (int attempt = 0; attempt < 3; ++attempt)
        ASSERT_GT(faultsOfSave(GetParam().call, GetParam().error), 0);
    EXPECT_EQ(readFile(), GARBAGE);
    EXPECT_EQ(entries(), QStringList({FILE_NAME, FILE_NAME + ".damaged"}));
}

INSTANTIATE_TEST_SUITE_P(EachCall, SettingsWriteFault,
                         testing::Values(FailingCall{"NoRoomForTheTemporary", SystemCall::CreateTemporary,
                                                     ENOSPC},
                                         FailingCall{"NoRoomForTheData", SystemCall::Write, ENOSPC},
                                         FailingCall{"NoQuotaForTheData", SystemCall::Write, EDQUOT},
                                         FailingCall{"DiskFailsOnSync", SystemCall::Fsync, EIO},
                                         FailingCall{"NoRoomOnSync", SystemCall::Fsync, ENOSPC},
                                         FailingCall{"NoRoomForTheName", SystemCall::Rename, ENOSPC}),
                         nameOf);

TEST_F(SettingsFault, KeepsTheOldFileOnADiskThatFillsHalfWay)
{
    writeFile(OLD);
    const ShortWrites shortWrites;
    for (int passing = 0; passing < NEW.size(); ++passing) {
        ASSERT_EQ(faultsOfSave(SystemCall::Write, ENOSPC, passing), 1);
        ASSERT_EQ(entries(), QStringList(FILE_NAME));
    }
    EXPECT_EQ(readFile(), OLD);
}

TEST_F(SettingsFault, ContinuesShortWrites)
{
    writeFile(OLD);
    resetCallCounts();
    {
        const ShortWrites shortWrites;
        writeNew();
    }
    EXPECT_EQ(callCount(SystemCall::Write), NEW.size());
    EXPECT_EQ(readFile(), NEW);
}

TEST_F(SettingsFault, WritesWhereNothingCanBeLocked)
{
    writeFile(OLD);
    EXPECT_EQ(faultsOfSave(SystemCall::Lock, ENOLCK), 1);
    EXPECT_EQ(readFile(), NEW);
}

TEST_F(SettingsFault, ReportsADirectoryThatCannotBeStored)
{
    writeFile(OLD);
    ASSERT_EQ(faultsOfSave(SystemCall::Fsync, EIO, 1), 1);
    EXPECT_EQ(readFile(), NEW);
    EXPECT_EQ(entries(), QStringList(FILE_NAME));
    EXPECT_EQ(log.only().kind, Failure::NotSaved);
}

TEST_F(SettingsFault, AcceptsADirectoryWithoutSync)
{
    writeFile(OLD);
    ASSERT_EQ(faultsOfSave(SystemCall::Fsync, EINVAL, 1), 1);
    EXPECT_TRUE(log.failures().isEmpty());
}

class SettingsReadFault : public SettingsFault, public testing::WithParamInterface<FailingCall>
{
};

TEST_P(SettingsReadFault, ForbidsEverySaveUntilSettingsBegin)
{
    writeFile(OLD);
    const FileIdentity before(file());
    ASSERT_EQ(faultsOfSave(GetParam().call, GetParam().error, GetParam().passing, 1), 1);
    EXPECT_EQ(log.count(Failure::NotRead), GetParam().passing == 0 ? 1 : 0);
    EXPECT_EQ(log.count(Failure::NotSavedUnread), 1);
    for (int later = 0; later < 3; ++later) {
        log.clear();
        writeNew();
        EXPECT_EQ(log.only().kind, Failure::NotSavedUnread);
        EXPECT_FALSE(log.only().reason.isEmpty());
    }
    EXPECT_TRUE(isSettingsFileUnread(file()));
    EXPECT_EQ(FileIdentity(file()), before);
    EXPECT_EQ(entries(), QStringList(FILE_NAME));
    expectSaveAfterBeginning();
}

TEST_P(SettingsReadFault, ForbidsLaterSavesAlsoWithoutAChange)
{
    writeFile(OLD);
    {
        const SystemCallFault fault(GetParam().call, GetParam().error, 0, 1);
        const SETUP_SET_Manager manager(file(), false);
        ASSERT_EQ(fault.fired(), 1);
    }
    writeNew();
    EXPECT_EQ(readFile(), OLD);
    EXPECT_EQ(log.count(Failure::NotSavedUnread), 1);
}

TEST_P(SettingsReadFault, IsReturnedWhenSettingsBeginAndForbidsSaves)
{
    writeFile(OLD);
    {
        const SystemCallFault fault(GetParam().call, GetParam().error);
        const auto failure = beginSettings(file());
        ASSERT_TRUE(failure.has_value());
        EXPECT_EQ(failure->kind, Failure::NotRead);
        EXPECT_EQ(failure->path, file());
        EXPECT_TRUE(log.failures().isEmpty());
    }
    writeNew();
    EXPECT_EQ(readFile(), OLD);
    EXPECT_EQ(log.only().kind, Failure::NotSavedUnread);
}

// 0 calls pass before the manager's first read. Of the opens, the second is that of the lock file.
INSTANTIATE_TEST_SUITE_P(EachRead, SettingsReadFault,
                         testing::Values(FailingCall{"FirstRead", SystemCall::Read, EIO},
                                         FailingCall{"ReadOfTheSave", SystemCall::Read, EIO, 1},
                                         FailingCall{"FirstOpen", SystemCall::Open, EACCES},
                                         FailingCall{"OpenOfTheSave", SystemCall::Open, EMFILE, 2}),
                         nameOf);

TEST_F(SettingsFault, ForbidsSavesOfOneFileOnly)
{
    const QString other = directory() + "/other.cfg";
    writeFile(OLD);
    writeFile(other, OLD);
    ASSERT_EQ(faultsOfSave(SystemCall::Read, EIO, 0, 1), 1);
    writeNew(other);
    EXPECT_EQ(readFile(other), NEW);
    EXPECT_EQ(readFile(), OLD);
}

TEST_F(SettingsFault, SavesAMissingOrDamagedFile)
{
    writeNew();
    EXPECT_EQ(readFile(), NEW);
    writeFile(GARBAGE);
    expectSaveAfterBeginning();
}

// A file that was missing at beginSettings().
class SettingsMissingAtFirst : public SettingsFault
{
protected:
    SettingsMissingAtFirst() { EXPECT_FALSE(beginSettings(file()).has_value()); }

    void expectKept()
    {
        expectFailedSave("the file was missing when the list was opened", Failure::NotSavedUnread);
    }
    void expectReplacedByAddition()
    {
        log.clear();
        addOther();
        EXPECT_EQ(readFile(), NEW + "Other=2\n");
        EXPECT_TRUE(log.failures().isEmpty());
    }
};

TEST_F(SettingsMissingAtFirst, KeepsAFileThatAppeared)
{
    for (const QByteArray& appeared : {GARBAGE, OLD}) {
        QFile::remove(file());
        ASSERT_FALSE(beginSettings(file()).has_value());
        writeFile(appeared);
        for (int save = 0; save < 3; ++save)
            expectKept();
    }
    EXPECT_EQ(entries(), QStringList(FILE_NAME));
    EXPECT_TRUE(isSettingsFileUnread(file()));
    expectSaveAfterBeginning();
}

TEST_F(SettingsMissingAtFirst, ReplacesItsOwnFile)
{
    writeNew();
    EXPECT_TRUE(log.failures().isEmpty());
    expectReplacedByAddition();
}

TEST_F(SettingsMissingAtFirst, ReplacesItsOwnFileThatWasNotDurable)
{
    ASSERT_EQ(faultsOfSave(SystemCall::Fsync, EIO, 1), 1);
    EXPECT_EQ(log.only().kind, Failure::NotSaved);
    expectReplacedByAddition();
}

TEST_F(SettingsMissingAtFirst, KeepsAFileThatAppearedAfterAFailedSave)
{
    ASSERT_GT(faultsOfSave(SystemCall::Write, ENOSPC), 0);
    writeFile(OLD);
    expectKept();
}

TEST_F(SettingsFault, DropsEarlierChangesAfterAFailedRead)
{
    // The read of the save, and the read before it.
    for (const int passing : {1, 0}) {
        writeFile(OLD);
        ASSERT_FALSE(beginSettings(file()).has_value());
        {
            const SystemCallFault fault(SystemCall::Rename, ENOSPC);
            addOther();
        }
        ASSERT_EQ(faultsOfSave(SystemCall::Read, EIO, passing, 1), 1);
        EXPECT_EQ(readText("Group", "Other"), "(default)") << passing;
        log.clear();
        endSettings(file());
        EXPECT_TRUE(log.failures().isEmpty()) << passing;
        EXPECT_EQ(readFile(), OLD);
    }
}

TEST_F(SettingsFault, MovesADamagedFileThatCannotHaveTwoNames)
{
    writeFile(GARBAGE);
    writeFile(kept(), "earlier");
    EXPECT_GT(faultsOfSave(SystemCall::Link, EPERM), 0);
    EXPECT_EQ(readFile(), NEW);
    EXPECT_EQ(readFile(kept()), "earlier");
    EXPECT_EQ(readFile(kept() + ".1"), GARBAGE);
}

TEST_F(SettingsFault, KeepsADamagedFileThatCannotBeMoved)
{
    writeFile(GARBAGE);
    setMode(file(), 0600);
    const SystemCallFault noLink(SystemCall::Link, ENOSPC);
    const SystemCallFault noRename(SystemCall::Rename, ENOSPC);
    expectFailedSave("no room on the disk");
    EXPECT_EQ(noLink.fired(), 1);
    EXPECT_EQ(noRename.fired(), 1);
    EXPECT_EQ(entries(), QStringList(FILE_NAME));
    EXPECT_FALSE(warnings.lines().isEmpty());
}

TEST_F(SettingsFault, ReadsTheFileOnceAndWritesNothing)
{
    writeFile(OLD);
    resetCallCounts();
    {
        const SETUP_SET_Manager manager(file(), false);
        QString text;
        for (int i = 0; i < 10; ++i)
            manager.getSettingInfo("Group", "Key", text, QString(), false);
        EXPECT_EQ(text, "old");
    }
    EXPECT_EQ(callCount(SystemCall::Open), 1);
    EXPECT_EQ(callCount(SystemCall::Read), 1);
    for (const SystemCall call : {SystemCall::CreateTemporary, SystemCall::Write, SystemCall::Lock})
        EXPECT_EQ(callCount(call), 0);
}

TEST_F(SettingsFault, ReplacesTheFileOnceForManyChanges)
{
    writeFile(OLD);
    resetCallCounts();
    {
        SETUP_SET_Manager manager(file(), false);
        for (int i = 0; i < 100; ++i)
            manager.setSettingInfo(QString("Group%1").arg(i), "Key", i);
        manager.clearGroup("Group5");
    }
    EXPECT_EQ(callCount(SystemCall::CreateTemporary), 1);
    EXPECT_EQ(callCount(SystemCall::Rename), 1);
    EXPECT_GE(callCount(SystemCall::Fsync), 1);
    EXPECT_LE(callCount(SystemCall::Fsync), 2);
}

} // namespace
