#include "ChildProcess.h"
#include "FailureLog.h"
#include "ManagerTest.h"

#include <cerrno>
#include <unistd.h>

namespace {

class SettingsFailures : public ManagerTest
{
protected:
    // The one failure of a save.
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

    // Reads and writes through path, which cannot be read for that reason. Nothing changes.
    void expectUnread(const QString& path, const char* reason) const
    {
        const QStringList before = entries();
        const WarningLog warnings;
        FailureLog log;
        EXPECT_EQ(readText(path, "Group", "Key"), "(default)");
        EXPECT_TRUE(isSaying(log.only(), SettingsFailure::NotRead, reason));
        log.clear();
        writeNew(path);
        ASSERT_EQ(log.failures().size(), 2);
        EXPECT_TRUE(isSaying(log.failures()[0], SettingsFailure::NotRead, reason));
        EXPECT_TRUE(isSaying(log.failures()[1], SettingsFailure::NotSavedUnread, reason));
        EXPECT_EQ(entries(), before);
    }
};

// Leaves no room for one more byte on the disk.
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

TEST_F(SettingsFailures, TellsAFullDiskAndKeepsTheOldFile)
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

TEST_F(SettingsFailures, TellsAReadOnlyDisk)
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

TEST_F(SettingsFailures, TellsADirectoryWithoutWritePermission)
{
    for (const QByteArray& bytes : {OLD, GARBAGE}) {
        writeFile(bytes);
        setMode(file(), 0600);
        setMode(directory(), 0500);
        const FileIdentity before(file());
        const int result = runUnprivileged(directory(), [&] {
            if (!isSaying(failedSave(), SettingsFailure::NotSaved, "not allowed"))
                return 1;
            const auto failure = checkSettingsDirectory();
            return failure && isSaying(*failure, SettingsFailure::NoDirectory, "not allowed") ? 0 : 2;
        });
        setMode(directory(), 0700);
        EXPECT_EQ(result, 0);
        EXPECT_EQ(FileIdentity(file()), before);
        EXPECT_EQ(readFile(), bytes);
        EXPECT_EQ(entries(), QStringList(FILE_NAME));
    }
}

TEST_F(SettingsFailures, TellsPathsThatCannotBeRead)
{
    writeFile(directory() + "/place", OLD);
    const auto makeLink = [&](const char* link, const char* to) {
        ASSERT_EQ(symlink(to, name(directory() + "/" + link).constData()), 0);
    };
    makeLink("lost", "missing/file");
    makeLink("circle", "other");
    makeLink("other", "circle");
    writeFile(directory() + "/large", OLD);
    ASSERT_EQ(truncate(name(directory() + "/large").constData(), off_t(1) << 40), 0);
    const std::pair<const char*, const char*> paths[] = {
        {"missing/file", "the folder is missing"}, {"place/file", "there is a file in the folder's place"},
        {"lost", "the folder is missing"},         {"circle", "the link leads in a circle"},
        {"large", "the file is too large"},
    };
    for (const auto& [path, reason] : paths) {
        SCOPED_TRACE(path);
        ASSERT_NO_FATAL_FAILURE(expectUnread(directory() + "/" + path, reason));
    }
    for (const char* link : {"lost", "circle", "other"})
        EXPECT_TRUE(S_ISLNK(FileIdentity(directory() + "/" + link).mode)) << link;
    EXPECT_EQ(FileIdentity(directory() + "/large").size, off_t(1) << 40);
    EXPECT_EQ(readFile(directory() + "/place"), OLD);
}

TEST_F(SettingsFailures, TellsAFileThatMayNotBeRead)
{
    writeFile(OLD);
    setMode(file(), 0);
    const FileIdentity before(file());
    EXPECT_EQ(runUnprivileged(directory(),
                              [&] {
                                  expectUnread(file(), "not allowed");
                                  return HasFailure() ? 1 : 0;
                              }),
              0);
    EXPECT_EQ(FileIdentity(file()), before);
    setMode(file(), 0600);
    EXPECT_EQ(readFile(), OLD);
}

TEST_F(SettingsFailures, TellsAFileOrAFolderOfAnotherUser)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    writeFile(OLD);
    setMode(file(), 0600);
    setMode(directory(), 0755);
    // This directory is given to the other user, the settings directory is not.
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

TEST_F(SettingsFailures, NamesEachReasonInWords)
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

TEST_F(SettingsFailures, MakesTheSettingsDirectory)
{
    qputenv("ORMU_SETTING_DIR", QFile::encodeName(directory() + "/new/inner"));
    EXPECT_FALSE(checkSettingsDirectory().has_value());
    EXPECT_EQ(modeOf(directory() + "/new/inner"), 0700U);
}

TEST_F(SettingsFailures, TellsAFileInTheSettingsDirectorysPlace)
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
