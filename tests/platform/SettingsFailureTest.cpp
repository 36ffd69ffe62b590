// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ManagerTest.h"

namespace {

class SettingsFailures : public ManagerTest
{
protected:
    // Reads and writes through path, which cannot be read for that reason. Nothing changes.
    void expectUnread(const QString& path, const char* reason)
    {
        const QStringList before = entries();
        log.clear();
        EXPECT_EQ(readText(path, "Group", "Key"), "(default)");
        expectFailure(log.only(), Failure::NotRead, reason);
        log.clear();
        writeNew(path);
        ASSERT_EQ(log.failures().size(), 2);
        expectFailure(log.failures()[0], Failure::NotRead, reason);
        expectFailure(log.failures()[1], Failure::NotSavedUnread, reason);
        EXPECT_EQ(entries(), before);
    }

    // Leaves no room for one more byte on the disk.
    static void fillDisk(const QString& path)
    {
        QFile filler(path);
        ASSERT_TRUE(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        const QByteArray page(4096, 'x');
        while (filler.write(page) > 0) {
        }
    }
};

TEST_F(SettingsFailures, ReportAFullDiskAndKeepTheOldFile)
{
    runOnSmallDisk([&] {
        writeFile(OLD);
        const QString filler = directory() + "/filler";
        fillDisk(filler);
        expectFailedSave("no room on the disk");
        EXPECT_EQ(entries().size(), 2);
        QFile::remove(filler);
        log.clear();
        writeNew();
        EXPECT_EQ(readFile(), NEW);
        EXPECT_TRUE(log.failures().isEmpty());
    });
}

TEST_F(SettingsFailures, ReportAReadOnlyDisk)
{
    runOnSmallDisk([&] {
        writeFile(OLD);
        ASSERT_TRUE(makeDiskReadOnly(directory()));
        expectFailedSave("the disk can only be read");
        expectFailure(checkSettingsDirectory(), Failure::NoDirectory, "the disk can only be read");
    });
}

TEST_F(SettingsFailures, ReportADirectoryWithoutWritePermission)
{
    for (const QByteArray& bytes : {OLD, GARBAGE}) {
        writeFile(bytes);
        setMode(file(), 0600);
        setMode(directory(), 0500);
        runAsNobody(directory(), [&] {
            expectFailedSave("not allowed");
            expectFailure(checkSettingsDirectory(), Failure::NoDirectory, "not allowed");
        });
        setMode(directory(), 0700);
        EXPECT_EQ(modeOf(file()), 0600U);
        EXPECT_EQ(readFile(), bytes);
        EXPECT_EQ(entries(), QStringList(FILE_NAME));
    }
}

TEST_F(SettingsFailures, ReportPathsThatCannotBeRead)
{
    writeFile(directory() + "/place", OLD);
    makeLink(directory() + "/lost", "missing/file");
    makeLink(directory() + "/circle", "other");
    makeLink(directory() + "/other", "circle");
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
        EXPECT_TRUE(isLink(directory() + "/" + link)) << link;
    EXPECT_EQ(FileIdentity(directory() + "/large").size, off_t(1) << 40);
    EXPECT_EQ(readFile(directory() + "/place"), OLD);
}

TEST_F(SettingsFailures, ReportAFileThatMayNotBeRead)
{
    writeFile(OLD);
    setMode(file(), 0);
    const FileIdentity before(file());
    runAsNobody(directory(), [&] { expectUnread(file(), "not allowed"); });
    EXPECT_EQ(FileIdentity(file()), before);
    setMode(file(), 0600);
    EXPECT_EQ(readFile(), OLD);
}

TEST_F(SettingsFailures, ReportAFileOrAFolderOfAnotherUser)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    writeFile(OLD);
    setMode(file(), 0600);
    setMode(directory(), 0755);
    // This directory is given to the other user, the settings directory is not.
    const SettingsDirectory nothing;
    qputenv("ORMU_SETTING_DIR", QFile::encodeName(directory()));
    runAsNobody(nothing.directory(), [&] {
        expectFailure(beginSettings(file()), Failure::NotRead, "the file belongs to another user");
        expectFailure(checkSettingsDirectory(), Failure::NoDirectory, "the folder belongs to another user");
        writeNew(directory() + "/new.cfg");
        expectFailure(log.only(), Failure::NotSaved, "the folder belongs to another user");
    });
}

TEST_F(SettingsFailures, NameEachReasonInWords)
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

TEST_F(SettingsFailures, DoNotOccurInADirectoryThatCanBeMade)
{
    qputenv("ORMU_SETTING_DIR", name(directory() + "/new/inner"));
    EXPECT_FALSE(checkSettingsDirectory().has_value());
    EXPECT_EQ(modeOf(directory() + "/new/inner"), 0700U);
}

TEST_F(SettingsFailures, ReportAFileInTheDirectorysPlace)
{
    writeFile(directory() + "/file", OLD);
    for (const char* path : {"/file", "/file/inner"}) {
        SCOPED_TRACE(path);
        qputenv("ORMU_SETTING_DIR", name(directory() + path));
        expectFailure(checkSettingsDirectory(), Failure::NoDirectory,
                      "there is a file in the folder's place");
    }
}

} // namespace
