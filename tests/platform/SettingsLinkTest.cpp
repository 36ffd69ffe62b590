// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ManagerTest.h"

namespace {

const QString TARGET = QStringLiteral("kept.cfg");

// The settings file as a symbolic link into another directory.
class SettingsLink : public ManagerTest
{
protected:
    SettingsLink() { EXPECT_TRUE(QDir().mkpath(elsewhere())); }

    QString elsewhere() const { return directory() + "/elsewhere"; }
    QString target() const { return elsewhere() + "/" + TARGET; }
    QStringList targets() const
    {
        QStringList names = QDir(elsewhere()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
        names.removeAll(LOCK_FILE);
        return names;
    }

    void expectOnlyTheTargetIsNew(const QStringList& all = {TARGET}) const
    {
        EXPECT_TRUE(isLink(file()));
        EXPECT_FALSE(isLink(target()));
        EXPECT_EQ(readFile(target()), NEW);
        EXPECT_EQ(modeOf(target()), 0600U);
        EXPECT_EQ(targets(), all);
    }
};

TEST_F(SettingsLink, StaysAndItsTargetIsReplaced)
{
    ASSERT_TRUE(QDir().mkpath(directory() + "/between"));
    makeLink(directory() + "/between/second", "../elsewhere/" + TARGET);
    makeLink(directory() + "/first", directory() + "/between/second");
    const QStringList before = entries();
    for (const QString& link : {target(), "elsewhere/../elsewhere/" + TARGET, QString("first")}) {
        SCOPED_TRACE(qPrintable(link));
        writeFile(target(), OLD);
        makeLink(file(), link);
        writeNew();
        expectOnlyTheTargetIsNew();
        EXPECT_EQ(entries().size(), before.size() + 1);
        ASSERT_TRUE(QFile::remove(file()));
    }
    EXPECT_TRUE(isLink(directory() + "/first"));
    EXPECT_TRUE(isLink(directory() + "/between/second"));
}

TEST_F(SettingsLink, MakesAMissingTarget)
{
    makeLink(file(), "elsewhere/" + TARGET);
    writeNew();
    expectOnlyTheTargetIsNew();
}

TEST_F(SettingsLink, KeepsATargetThatWasAwayForAMoment)
{
    writeFile(target(), OLD);
    makeLink(file(), "elsewhere/" + TARGET);
    const QString away = directory() + "/away";
    ASSERT_TRUE(QDir().rename(elsewhere(), away));
    expectFailure(beginSettings(file()), Failure::NotRead, "the folder is missing");
    ASSERT_TRUE(QDir().rename(away, elsewhere()));
    writeNew();
    EXPECT_EQ(log.only().kind, SettingsFailure::NotSavedUnread);
    EXPECT_EQ(readFile(target()), OLD);
    EXPECT_FALSE(beginSettings(file()).has_value());
    writeNew();
    expectOnlyTheTargetIsNew();
}

TEST_F(SettingsLink, ReportsATargetsFolderWithoutPermission)
{
    writeFile(target(), OLD);
    makeLink(file(), "elsewhere/" + TARGET);
    EXPECT_FALSE(checkSettingsDirectory(file()).has_value());
    runAsNobody(directory(), [&] {
        setMode(elsewhere(), 0500);
        EXPECT_FALSE(checkSettingsDirectory().has_value());
        expectFailure(checkSettingsDirectory(file()), Failure::NoDirectory, "not allowed");
    });
    ASSERT_TRUE(QFile::remove(file()));
    makeLink(file(), "missing/" + TARGET);
    expectFailure(checkSettingsDirectory(file()), Failure::NoDirectory, "the folder is missing");
}

TEST_F(SettingsLink, KeepsADamagedTargetBesideIt)
{
    writeFile(target(), GARBAGE);
    makeLink(file(), "elsewhere/" + TARGET);
    writeNew();
    expectOnlyTheTargetIsNew({TARGET, TARGET + ".damaged"});
    EXPECT_EQ(readFile(target() + ".damaged"), GARBAGE);
    EXPECT_EQ(modeOf(target() + ".damaged"), 0600U);
}

TEST_F(SettingsLink, LosesNoKeyOfWritersByLinkAndByTarget)
{
    constexpr int rounds = 60;
    makeLink(file(), target());
    const auto write = [](const QString& path, const QString& key) {
        for (int round = 0; round < rounds; ++round)
            SETUP_SET_Manager(path, false).setSettingInfo("Shared", key + QString::number(round), true);
        return 0;
    };
    const pid_t byLink = startChild([&] { return write(file(), "Link"); });
    const pid_t byTarget = startChild([&] { return write(target(), "Target"); });
    EXPECT_EQ(waitForChild(byLink), 0);
    EXPECT_EQ(waitForChild(byTarget), 0);
    EXPECT_EQ(readFile(target()).count("=true\n"), 2 * rounds);
}

// Temporary files that killed writers left, and files that look like them.
using SettingsLeftovers = SettingsLink;

TEST_F(SettingsLeftovers, AreRemovedByTheNextWriterAndNothingElse)
{
    const QStringList gone = {".~aB3xZ", ".~abcde", ".~12345", ".old.~abcde", ".old.12.~abcde"};
    const QStringList left = {
        ".damaged", ".damaged.1",  ".damaged.100000", ".damaged.~abcde", ".old",     ".old.1",
        ".old.10",  ".old.100000", ".old.x.~abcde",   ".older.~abcde",   ".backup",  ".Backup",
        ".BACKUP",  ".241122",     ".bak001",         ".~abcd",          ".~abcdef", ".~ab-de",
        "..~abcde", "~",           ".Copy01",         ".old.Save1A",     ".aB3xZ9",  ".aB3xZ",
        ".aB3xZ9a", ".aB3x.9",     "XaB3xZ9",         ".aB3xé"};
    QStringList expected = {FILE_NAME, "elsewhere", "other.cfg.~abcde", "x" + FILE_NAME + ".~abcde"};
    for (const QString& end : left)
        expected += FILE_NAME + end;
    for (const QString& end : gone)
        writeFile(file() + end, "Password=secret");
    for (const QString& entry : expected) {
        if (entry != "elsewhere")
            writeFile(directory() + "/" + entry, OLD);
    }
    writeNew();
    EXPECT_THAT(entries(), testing::UnorderedElementsAreArray(expected));
    EXPECT_EQ(readFile(), NEW);
}

TEST_F(SettingsLeftovers, OfOtherUsersAndOtherKindsStay)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give a file away";
    const QString foreign = file() + ".~aaaaa";
    const QString linked = file() + ".~bbbbb";
    const QString folder = file() + ".~ccccc";
    writeFile(foreign, "foreign");
    ASSERT_EQ(chown(name(foreign).constData(), 65534, 65534), 0);
    makeLink(linked, foreign);
    ASSERT_TRUE(QDir().mkpath(folder));
    writeNew();
    EXPECT_EQ(readFile(foreign), "foreign");
    EXPECT_TRUE(isLink(linked));
    EXPECT_TRUE(QDir(folder).exists());
}

TEST_F(SettingsLeftovers, BesideTheTargetAndBesideTheLinkAreRemoved)
{
    makeLink(file(), "elsewhere/" + TARGET);
    writeFile(target() + ".~aaaaa", "secret");
    writeFile(file() + ".old.~bbbbb", "secret");
    writeNew();
    EXPECT_EQ(targets(), QStringList(TARGET));
    EXPECT_EQ(entries(), QStringList({"elsewhere", FILE_NAME}));
}

} // namespace
