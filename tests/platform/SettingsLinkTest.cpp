#include "ChildProcess.h"
#include "FailureLog.h"
#include "ManagerTest.h"

#include <QDir>

#include <unistd.h>

namespace {

const QString TARGET = QStringLiteral("kept.cfg");

// The settings file as a symbolic link into another directory.
class SettingsLink : public ManagerTest
{
protected:
    SettingsLink() { EXPECT_TRUE(QDir().mkpath(elsewhere())); }

    QString elsewhere() const { return directory() + "/elsewhere"; }
    QString target() const { return elsewhere() + "/" + TARGET; }
    static void makeLink(const QString& link, const QString& to)
    {
        ASSERT_EQ(symlink(name(to).constData(), name(link).constData()), 0);
    }
    static bool isLink(const QString& path) { return S_ISLNK(FileIdentity(path).mode); }
    QStringList targets() const
    {
        QStringList names = QDir(elsewhere()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
        names.removeAll(LOCK_FILE);
        return names;
    }

    void expectOnlyTheTargetIsNew() const
    {
        EXPECT_TRUE(isLink(file()));
        EXPECT_FALSE(isLink(target()));
        EXPECT_EQ(readFile(target()), NEW);
        EXPECT_EQ(modeOf(target()), 0600U);
        EXPECT_EQ(targets(), QStringList(TARGET));
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
    const WarningLog warnings;
    const FailureLog log;
    const QString away = directory() + "/away";
    ASSERT_TRUE(QDir().rename(elsewhere(), away));
    const auto failure = beginSettings(file());
    ASSERT_TRUE(failure.has_value());
    EXPECT_EQ(failure->reason, "the folder is missing");
    ASSERT_TRUE(QDir().rename(away, elsewhere()));
    writeNew();
    EXPECT_EQ(log.only().kind, SettingsFailure::NotSavedUnread);
    EXPECT_EQ(readFile(target()), OLD);
    EXPECT_FALSE(beginSettings(file()).has_value());
    writeNew();
    expectOnlyTheTargetIsNew();
}

TEST_F(SettingsLink, TellsATargetsFolderWithoutPermission)
{
    writeFile(target(), OLD);
    makeLink(file(), "elsewhere/" + TARGET);
    EXPECT_FALSE(checkSettingsDirectory(file()).has_value());
    const int result = runUnprivileged(directory(), [&] {
        if (chmod(name(elsewhere()).constData(), 0500) != 0 || checkSettingsDirectory())
            return 1;
        const auto failure = checkSettingsDirectory(file());
        return failure && failure->kind == SettingsFailure::NoDirectory && failure->reason == "not allowed"
                   ? 0
                   : 2;
    });
    EXPECT_EQ(result, 0);
    ASSERT_TRUE(QFile::remove(file()));
    makeLink(file(), "missing/" + TARGET);
    const auto failure = checkSettingsDirectory(file());
    ASSERT_TRUE(failure.has_value());
    EXPECT_EQ(failure->reason, "the folder is missing");
}

TEST_F(SettingsLink, KeepsADamagedTargetBesideIt)
{
    writeFile(target(), GARBAGE);
    makeLink(file(), "elsewhere/" + TARGET);
    const WarningLog warnings;
    writeNew();
    EXPECT_TRUE(isLink(file()));
    EXPECT_EQ(readFile(target()), NEW);
    EXPECT_EQ(readFile(target() + ".damaged"), GARBAGE);
    EXPECT_EQ(modeOf(target() + ".damaged"), 0600U);
    EXPECT_EQ(targets(), QStringList({TARGET, TARGET + ".damaged"}));
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
class SettingsLeftovers : public SettingsLink
{
protected:
    void expectAfterNextSave(const QStringList& gone, const QStringList& kept)
    {
        for (const QString& entry : gone + kept)
            writeFile(directory() + "/" + entry, "Password=secret");
        writeNew();
        const QStringList left = entries();
        for (const QString& entry : gone)
            EXPECT_FALSE(left.contains(entry)) << qPrintable(entry);
        for (const QString& entry : kept)
            EXPECT_TRUE(left.contains(entry)) << qPrintable(entry);
        EXPECT_EQ(readFile(), NEW);
    }
};

TEST_F(SettingsLeftovers, AreRemovedByTheNextWriterAndNothingElse)
{
    const QString& file = FILE_NAME;
    expectAfterNextSave(
        {file + ".~aB3xZ", file + ".~abcde", file + ".~12345", file + ".old.~abcde", file + ".old.12.~abcde"},
        {file + ".damaged",      file + ".damaged.1",    file + ".damaged.100000", file + ".damaged.~abcde",
         file + ".old",          file + ".old.1",        file + ".old.10",         file + ".old.100000",
         file + ".old.x.~abcde", file + ".older.~abcde", file + ".backup",         file + ".Backup",
         file + ".BACKUP",       file + ".241122",       file + ".bak001",         file + ".~abcd",
         file + ".~abcdef",      file + ".~ab-de",       file + "..~abcde",        file + "~",
         file + ".Copy01",       file + ".old.Save1A",   file + ".aB3xZ9",         file + ".aB3xZ",
         file + ".aB3xZ9a",      file + ".aB3x.9",       file + "XaB3xZ9",         "other.cfg.~abcde",
         "x" + file + ".~abcde", file + ".aB3xé"});
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
