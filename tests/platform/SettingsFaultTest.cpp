#include "FailureLog.h"
#include "ManagerTest.h"
#include "SystemCallFault.h"

#include <cerrno>

namespace {

using SettingsFault = ManagerTest;

struct FailingCall
{
    const char* name;
    SystemCall call;
    int error;
    int passing;
};

class SettingsWriteFault : public SettingsFault, public testing::WithParamInterface<FailingCall>
{
};

TEST_P(SettingsWriteFault, LeavesTheOldFileAndNothingElse)
{
    writeFile(OLD);
    const FileIdentity before(file());
    const WarningLog warnings;
    const FailureLog log;
    {
        const SystemCallFault fault(GetParam().call, GetParam().error, GetParam().passing);
        writeNew();
        ASSERT_GT(fault.fired(), 0);
    }
    EXPECT_EQ(log.only().kind, SettingsFailure::NotSaved);
    EXPECT_EQ(log.only().path, file());
    EXPECT_EQ(log.only().reason, GetParam().error == EIO ? "input/output error" : "no room on the disk");
    EXPECT_EQ(FileIdentity(file()), before);
    EXPECT_EQ(readFile(), OLD);
    EXPECT_EQ(entries(), QStringList(FILE_NAME));
    EXPECT_EQ(warnings.lines().size(), 1);

    writeNew();
    EXPECT_EQ(readFile(), NEW);
}

TEST_P(SettingsWriteFault, LeavesADamagedFileAndKeepsItOnce)
{
    writeFile(GARBAGE);
    const WarningLog warnings;
    for (int attempt = 0; attempt < 3; ++attempt) {
        const SystemCallFault fault(GetParam().call, GetParam().error, GetParam().passing);
        writeNew();
        ASSERT_GT(fault.fired(), 0);
    }
    EXPECT_EQ(readFile(), GARBAGE);
    EXPECT_EQ(entries(), QStringList({FILE_NAME, FILE_NAME + ".damaged"}));
}

INSTANTIATE_TEST_SUITE_P(EachCall, SettingsWriteFault,
                         testing::Values(FailingCall{"NoRoomForTheTemporary", SystemCall::CreateTemporary,
                                                     ENOSPC, 0},
                                         FailingCall{"NoRoomForTheData", SystemCall::Write, ENOSPC, 0},
                                         FailingCall{"NoQuotaForTheData", SystemCall::Write, EDQUOT, 0},
                                         FailingCall{"DiskFailsOnSync", SystemCall::Fsync, EIO, 0},
                                         FailingCall{"NoRoomOnSync", SystemCall::Fsync, ENOSPC, 0},
                                         FailingCall{"NoRoomForTheName", SystemCall::Rename, ENOSPC, 0}),
                         [](const auto& call) { return std::string(call.param.name); });

TEST_F(SettingsFault, KeepsTheOldFileOnADiskThatFillsHalfWay)
{
    writeFile(OLD);
    const WarningLog warnings;
    const ShortWrites shortWrites;
    for (int passing = 0; passing < NEW.size(); ++passing) {
        const SystemCallFault fault(SystemCall::Write, ENOSPC, passing);
        writeNew();
        ASSERT_EQ(fault.fired(), 1);
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
    const SystemCallFault fault(SystemCall::Lock, ENOLCK);
    writeNew();
    EXPECT_EQ(fault.fired(), 1);
    EXPECT_EQ(readFile(), NEW);
}

TEST_F(SettingsFault, TellsADirectoryThatCannotBeStored)
{
    writeFile(OLD);
    const WarningLog warnings;
    const FailureLog log;
    const SystemCallFault fault(SystemCall::Fsync, EIO, 1);
    writeNew();
    ASSERT_EQ(fault.fired(), 1);
    EXPECT_EQ(readFile(), NEW);
    EXPECT_EQ(entries(), QStringList(FILE_NAME));
    EXPECT_EQ(log.only().kind, SettingsFailure::NotSaved);
}

TEST_F(SettingsFault, AcceptsADirectoryWithoutSync)
{
    writeFile(OLD);
    const FailureLog log;
    const SystemCallFault fault(SystemCall::Fsync, EINVAL, 1);
    writeNew();
    ASSERT_EQ(fault.fired(), 1);
    EXPECT_TRUE(log.failures().isEmpty());
}

struct FailingRead
{
    const char* name;
    SystemCall call;
    int error;
    int passing; // 0: the manager's first read, 1: that of its save
};

class SettingsReadFault : public SettingsFault, public testing::WithParamInterface<FailingRead>
{
};

TEST_P(SettingsReadFault, ForbidsEverySaveUntilSettingsBegin)
{
    writeFile(OLD);
    const FileIdentity before(file());
    const WarningLog warnings;
    FailureLog log;
    {
        const SystemCallFault fault(GetParam().call, GetParam().error, GetParam().passing, 1);
        writeNew();
        ASSERT_EQ(fault.fired(), 1);
    }
    EXPECT_EQ(log.count(SettingsFailure::NotRead), GetParam().passing == 0 ? 1 : 0);
    EXPECT_EQ(log.count(SettingsFailure::NotSavedUnread), 1);
    for (int later = 0; later < 3; ++later) {
        log.clear();
        writeNew();
        EXPECT_EQ(log.only().kind, SettingsFailure::NotSavedUnread);
        EXPECT_FALSE(log.only().reason.isEmpty());
    }
    EXPECT_TRUE(isSettingsFileUnread(file()));
    EXPECT_EQ(FileIdentity(file()), before);
    EXPECT_EQ(readFile(), OLD);
    EXPECT_EQ(entries(), QStringList(FILE_NAME));

    log.clear();
    EXPECT_FALSE(beginSettings(file()).has_value());
    EXPECT_FALSE(isSettingsFileUnread(file()));
    writeNew();
    EXPECT_EQ(readFile(), NEW);
    EXPECT_TRUE(log.failures().isEmpty());
}

TEST_P(SettingsReadFault, ForbidsLaterSavesAlsoWithoutAChange)
{
    writeFile(OLD);
    const WarningLog warnings;
    const FailureLog log;
    {
        const SystemCallFault fault(GetParam().call, GetParam().error, 0, 1);
        const SETUP_SET_Manager manager(file(), false);
        ASSERT_EQ(fault.fired(), 1);
    }
    writeNew();
    EXPECT_EQ(readFile(), OLD);
    EXPECT_EQ(log.count(SettingsFailure::NotSavedUnread), 1);
}

TEST_P(SettingsReadFault, IsReturnedWhenSettingsBeginAndForbidsSaves)
{
    writeFile(OLD);
    const WarningLog warnings;
    const FailureLog log;
    {
        const SystemCallFault fault(GetParam().call, GetParam().error);
        const auto failure = beginSettings(file());
        ASSERT_TRUE(failure.has_value());
        EXPECT_EQ(failure->kind, SettingsFailure::NotRead);
        EXPECT_EQ(failure->path, file());
        EXPECT_TRUE(log.failures().isEmpty());
    }
    writeNew();
    EXPECT_EQ(readFile(), OLD);
    EXPECT_EQ(log.only().kind, SettingsFailure::NotSavedUnread);
}

INSTANTIATE_TEST_SUITE_P(EachRead, SettingsReadFault,
                         testing::Values(FailingRead{"FirstRead", SystemCall::Read, EIO, 0},
                                         FailingRead{"ReadOfTheSave", SystemCall::Read, EIO, 1},
                                         FailingRead{"FirstOpen", SystemCall::Open, EACCES, 0},
                                         // The second is that of the lock file.
                                         FailingRead{"OpenOfTheSave", SystemCall::Open, EMFILE, 2}),
                         [](const auto& read) { return std::string(read.param.name); });

TEST_F(SettingsFault, ForbidsSavesOfOneFileOnly)
{
    const QString other = directory() + "/other.cfg";
    writeFile(OLD);
    writeFile(other, OLD);
    const WarningLog warnings;
    {
        const SystemCallFault fault(SystemCall::Read, EIO, 0, 1);
        writeNew();
        ASSERT_EQ(fault.fired(), 1);
    }
    writeNew(other);
    EXPECT_EQ(readFile(other), NEW);
    EXPECT_EQ(readFile(), OLD);
}

TEST_F(SettingsFault, SavesAMissingOrDamagedFile)
{
    const WarningLog warnings;
    const FailureLog log;
    writeNew();
    EXPECT_EQ(readFile(), NEW);
    writeFile(GARBAGE);
    EXPECT_FALSE(beginSettings(file()).has_value());
    writeNew();
    EXPECT_EQ(readFile(), NEW);
    EXPECT_TRUE(log.failures().isEmpty());
}

// A file that was missing at beginSettings().
class SettingsMissingAtFirst : public SettingsFault
{
protected:
    SettingsMissingAtFirst() { EXPECT_FALSE(beginSettings(file()).has_value()); }

    const WarningLog warnings_;
    FailureLog log_;
};

TEST_F(SettingsMissingAtFirst, KeepsAFileThatAppeared)
{
    writeFile(OLD);
    for (int save = 0; save < 3; ++save) {
        log_.clear();
        writeNew();
        EXPECT_EQ(log_.only().kind, SettingsFailure::NotSavedUnread);
        EXPECT_EQ(log_.only().reason, "the file was missing when the list was opened");
    }
    EXPECT_TRUE(isSettingsFileUnread(file()));
    EXPECT_EQ(readFile(), OLD);

    log_.clear();
    EXPECT_FALSE(beginSettings(file()).has_value());
    writeNew();
    EXPECT_EQ(readFile(), NEW);
    EXPECT_TRUE(log_.failures().isEmpty());
}

TEST_F(SettingsMissingAtFirst, KeepsADamagedFileThatAppeared)
{
    writeFile(GARBAGE);
    writeNew();
    EXPECT_EQ(log_.only().kind, SettingsFailure::NotSavedUnread);
    EXPECT_EQ(readFile(), GARBAGE);
    EXPECT_EQ(entries(), QStringList(FILE_NAME));
}

TEST_F(SettingsMissingAtFirst, ReplacesItsOwnFile)
{
    writeNew();
    SETUP_SET_Manager(file(), false).setSettingInfo("Group", "Other", 2);
    EXPECT_EQ(readFile(), NEW + "Other=2\n");
    EXPECT_TRUE(log_.failures().isEmpty());
}

TEST_F(SettingsMissingAtFirst, ReplacesItsOwnFileThatWasNotDurable)
{
    {
        const SystemCallFault fault(SystemCall::Fsync, EIO, 1);
        writeNew();
        ASSERT_EQ(fault.fired(), 1);
    }
    EXPECT_EQ(log_.only().kind, SettingsFailure::NotSaved);
    log_.clear();
    SETUP_SET_Manager(file(), false).setSettingInfo("Group", "Other", 2);
    EXPECT_EQ(readFile(), NEW + "Other=2\n");
    EXPECT_TRUE(log_.failures().isEmpty());
}

TEST_F(SettingsMissingAtFirst, KeepsAFileThatAppearedAfterAFailedSave)
{
    {
        const SystemCallFault fault(SystemCall::Write, ENOSPC);
        writeNew();
    }
    writeFile(OLD);
    log_.clear();
    writeNew();
    EXPECT_EQ(log_.only().kind, SettingsFailure::NotSavedUnread);
    EXPECT_EQ(readFile(), OLD);
}

TEST_F(SettingsFault, DropsEarlierChangesAfterAFailedRead)
{
    const WarningLog warnings;
    // The read of the save, and the read before it.
    for (const int passing : {1, 0}) {
        writeFile(OLD);
        ASSERT_FALSE(beginSettings(file()).has_value());
        FailureLog log;
        {
            const SystemCallFault fault(SystemCall::Rename, ENOSPC);
            SETUP_SET_Manager(file(), false).setSettingInfo("Earlier", "Key", 1);
        }
        {
            const SystemCallFault fault(SystemCall::Read, EIO, passing, 1);
            writeNew();
            ASSERT_EQ(fault.fired(), 1);
        }
        EXPECT_EQ(readText("Earlier", "Key"), "(default)") << passing;
        log.clear();
        endSettings(file());
        EXPECT_TRUE(log.failures().isEmpty()) << passing;
        EXPECT_EQ(readFile(), OLD);
    }
}

TEST_F(SettingsFault, MovesADamagedFileThatCannotHaveTwoNames)
{
    writeFile(GARBAGE);
    writeFile(file() + ".damaged", "earlier");
    const WarningLog warnings;
    const SystemCallFault fault(SystemCall::Link, EPERM);
    writeNew();
    EXPECT_GT(fault.fired(), 0);
    EXPECT_EQ(readFile(), NEW);
    EXPECT_EQ(readFile(file() + ".damaged"), "earlier");
    EXPECT_EQ(readFile(file() + ".damaged.1"), GARBAGE);
}

TEST_F(SettingsFault, KeepsADamagedFileThatCannotBeMoved)
{
    writeFile(GARBAGE);
    setMode(file(), 0600);
    const FileIdentity before(file());
    const WarningLog warnings;
    const FailureLog log;
    const SystemCallFault noLink(SystemCall::Link, ENOSPC);
    const SystemCallFault noRename(SystemCall::Rename, ENOSPC);
    writeNew();
    EXPECT_EQ(noLink.fired(), 1);
    EXPECT_EQ(noRename.fired(), 1);
    EXPECT_EQ(log.only().kind, SettingsFailure::NotSaved);
    EXPECT_EQ(log.only().reason, "no room on the disk");
    EXPECT_EQ(FileIdentity(file()), before);
    EXPECT_EQ(readFile(), GARBAGE);
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
    EXPECT_EQ(callCount(SystemCall::CreateTemporary), 0);
    EXPECT_EQ(callCount(SystemCall::Write), 0);
    EXPECT_EQ(callCount(SystemCall::Lock), 0);
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
