#include "ChildProcess.h"
#include "FailureLog.h"
#include "SETUP_SET_Manager.h"
#include "SettingsFixture.h"

#include <QFile>

#include <gmock/gmock.h>

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QByteArray OLD = "[Group]\nKey=old\n";
const QByteArray NEW = "[Group]\nKey=new\n";

class SettingsFailures : public SettingsTest
{
protected:
    void writeNew() const
    {
        SETUP_SET_Manager(file(), false).setSettingInfo("Group", "Key", QString("new"), false);
    }

    // What the host is told of one save that fails, by somebody whom file modes bind.
    SettingsFailure failedSave() const
    {
        const WarningLog warnings;
        const FailureLog log;
        writeNew();
        return log.only();
    }

    static bool isSaying(const SettingsFailure& failure, SettingsFailure::Kind kind, const char* reason)
    {
        if (failure.kind == kind && failure.reason == QLatin1String(reason))
            return true;
        ADD_FAILURE() << failure.kind << ": " << qPrintable(failure.reason);
        return false;
    }

    static void setMode(const QString& path, mode_t mode)
    {
        ASSERT_EQ(chmod(QFile::encodeName(path).constData(), mode), 0);
    }
};

// Until the disk has no room for one more byte.
bool fillDisk(const QString& path)
{
    QFile filler(path);
    if (!filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return false;
    const QByteArray page(4096, 'x');
    while (filler.write(page) > 0) {
    }
    return true;
}

TEST_F(SettingsFailures, AFullDiskIsToldAndTheOldFileStands)
{
    const int result = runOnOwnDisk(directory(), [&] {
        writeFile(OLD);
        if (!fillDisk(directory() + "/filler"))
            return 1;
        if (!isSaying(failedSave(), SettingsFailure::NotSaved, "no room on the disk"))
            return 2;
        if (readFile() != OLD || entries().size() != 2)
            return 3;
        QFile::remove(directory() + "/filler");
        const FailureLog log;
        writeNew();
        return readFile() == NEW && log.failures().isEmpty() ? 0 : 4;
    });
    if (result == NO_OWN_DISK)
        GTEST_SKIP() << "this user cannot have a disk of its own";
    EXPECT_EQ(result, 0);
}

TEST_F(SettingsFailures, ADiskThatCanOnlyBeReadIsTold)
{
    const int result = runOnOwnDisk(directory(), [&] {
        writeFile(OLD);
        if (!makeDiskReadOnly(directory()))
            return 1;
        if (!isSaying(failedSave(), SettingsFailure::NotSaved, "the disk can only be read"))
            return 2;
        const auto failure = checkSettingsDirectory();
        return failure && isSaying(*failure, SettingsFailure::NoDirectory, "the disk can only be read") &&
                       readFile() == OLD
                   ? 0
                   : 3;
    });
    if (result == NO_OWN_DISK)
        GTEST_SKIP() << "this user cannot have a disk of its own";
    EXPECT_EQ(result, 0);
}

TEST_F(SettingsFailures, ADirectoryWithoutWritePermissionIsTold)
{
    writeFile(OLD);
    setMode(directory(), 0500);
    const int result = runUnprivileged(directory(), [&] {
        if (!isSaying(failedSave(), SettingsFailure::NotSaved, "not allowed"))
            return 1;
        const auto failure = checkSettingsDirectory();
        return failure && isSaying(*failure, SettingsFailure::NoDirectory, "not allowed") ? 0 : 2;
    });
    setMode(directory(), 0700);
    EXPECT_EQ(result, 0);
}

TEST_F(SettingsFailures, AFileOfATerabyteIsNotReadAndNotWrittenOver)
{
    const WarningLog warnings;
    const FailureLog log;
    writeFile(OLD);
    ASSERT_EQ(truncate(QFile::encodeName(file()).constData(), off_t(1) << 40), 0);
    writeNew();
    ASSERT_FALSE(log.failures().isEmpty());
    EXPECT_TRUE(isSaying(log.failures().first(), SettingsFailure::NotRead, "the file is too large"));
    struct stat status = {};
    ASSERT_EQ(stat(QFile::encodeName(file()).constData(), &status), 0);
    EXPECT_EQ(status.st_size, off_t(1) << 40);
}

TEST_F(SettingsFailures, AFileThatMayNotBeReadIsTold)
{
    writeFile(OLD);
    setMode(file(), 0);
    const int result = runUnprivileged(directory(), [&] {
        const WarningLog warnings;
        const FailureLog log;
        QString text;
        SETUP_SET_Manager(file(), false).getSettingInfo("Group", "Key", text, QString(), false);
        return isSaying(log.only(), SettingsFailure::NotRead, "not allowed") ? 0 : 1;
    });
    EXPECT_EQ(result, 0);
}

TEST_F(SettingsFailures, AFileOrAFolderOfAnotherUserIsCalledSo)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    writeFile(OLD);
    setMode(file(), 0600);
    setMode(directory(), 0755);
    // What is given to that user is nothing of the settings directory.
    const SettingsDirectory nothing;
    qputenv("ORMU_SETTING_DIR", QFile::encodeName(directory()));
    const int result = runUnprivileged(nothing.directory(), [&] {
        const WarningLog warnings;
        const auto unread = beginSettings(file());
        if (!unread || !isSaying(*unread, SettingsFailure::NotRead, "the file belongs to another user"))
            return 1;
        const auto failure = checkSettingsDirectory();
        if (!failure ||
            !isSaying(*failure, SettingsFailure::NoDirectory, "the folder belongs to another user"))
            return 2;
        const FailureLog log;
        SETUP_SET_Manager(directory() + "/new.cfg", false).setSettingInfo("Group", "Key", 1);
        return isSaying(log.only(), SettingsFailure::NotSaved, "the folder belongs to another user") ? 0 : 3;
    });
    EXPECT_EQ(result, 0);
}

TEST_F(SettingsFailures, EachReasonIsToldInWords)
{
    const std::pair<int, const char*> reasons[] = {{ENOSPC, "no room on the disk"},
                                                   {EDQUOT, "no room on the disk"},
                                                   {EROFS, "the disk can only be read"},
                                                   {EIO, "input/output error"},
                                                   {EACCES, "not allowed"},
                                                   {EPERM, "not allowed"},
                                                   {ENOENT, "the folder is missing"},
                                                   {ENOTDIR, "there is a file in the folder's place"},
                                                   {ELOOP, "the link leads in a circle"},
                                                   {EMFILE, "too many files are open"},
                                                   {EFBIG, "the file is too large"},
                                                   {ENAMETOOLONG, "File name too long"}};
    for (const auto& [error, words] : reasons)
        EXPECT_EQ(settingsReason(file(), error), words);
}

TEST_F(SettingsFailures, TheSettingsDirectoryIsMadeAndFoundGood)
{
    qputenv("ORMU_SETTING_DIR", QFile::encodeName(directory() + "/new/inner"));
    EXPECT_FALSE(checkSettingsDirectory().has_value());
    EXPECT_EQ(FileIdentity(directory() + "/new/inner").mode & 07777, 0700U);
}

TEST_F(SettingsFailures, AFileInTheSettingsDirectorysPlaceIsTold)
{
    writeFile(directory() + "/file", OLD);
    const WarningLog warnings;
    for (const char* path : {"/file", "/file/inner"}) {
        qputenv("ORMU_SETTING_DIR", QFile::encodeName(directory() + path));
        const auto failure = checkSettingsDirectory();
        ASSERT_TRUE(failure.has_value()) << path;
        EXPECT_EQ(failure->reason, "there is a file in the folder's place") << path;
    }
}

} // namespace
