#include "ChildProcess.h"
#include "FailureLog.h"
#include "SETUP_SET_Manager.h"
#include "SettingsFixture.h"

#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const QByteArray OLD = "[Group]\nKey=old\n";
const QByteArray NEW = "[Group]\nKey=new\n";
const QByteArray GARBAGE = "garbage";
const QString TARGET = QStringLiteral("kept.cfg");

QByteArray name(const QString& path)
{
    return QFile::encodeName(path);
}

void writeNew(const QString& path)
{
    SETUP_SET_Manager(path, false).setSettingInfo("Group", "Key", QString("new"), false);
}

// The settings file as a symbolic link into another directory.
class SettingsLink : public SettingsTest
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
        EXPECT_EQ(FileIdentity(target()).mode & 07777, 0600U);
        EXPECT_EQ(targets(), QStringList(TARGET));
    }
};

TEST_F(SettingsLink, AnAbsoluteLinkStaysAndItsTargetIsReplaced)
{
    writeFile(target(), OLD);
    makeLink(file(), target());
    const ino_t before = FileIdentity(target()).inode;
    writeNew(file());
    expectOnlyTheTargetIsNew();
    EXPECT_NE(FileIdentity(target()).inode, before);
    EXPECT_EQ(entries(), QStringList({"elsewhere", "ormu_sipsetup.cfg"}));
}

TEST_F(SettingsLink, ARelativeLinkIsFollowedFromItsOwnDirectory)
{
    writeFile(target(), OLD);
    makeLink(file(), "elsewhere/../elsewhere/" + TARGET);
    writeNew(file());
    expectOnlyTheTargetIsNew();
}

TEST_F(SettingsLink, AChainOfLinksIsFollowedToItsEnd)
{
    writeFile(target(), OLD);
    ASSERT_TRUE(QDir().mkpath(directory() + "/between"));
    makeLink(directory() + "/between/second", "../elsewhere/" + TARGET);
    makeLink(directory() + "/first", directory() + "/between/second");
    makeLink(file(), "first");
    writeNew(file());
    expectOnlyTheTargetIsNew();
    EXPECT_TRUE(isLink(directory() + "/first"));
    EXPECT_TRUE(isLink(directory() + "/between/second"));
}

TEST_F(SettingsLink, ALinkToAMissingFileMakesThatFile)
{
    makeLink(file(), "elsewhere/" + TARGET);
    writeNew(file());
    expectOnlyTheTargetIsNew();
}

TEST_F(SettingsLink, ALinkIntoAMissingDirectoryIsToldAndStays)
{
    makeLink(file(), "missing/" + TARGET);
    const WarningLog warnings;
    const FailureLog log;
    writeNew(file());
    EXPECT_TRUE(isLink(file()));
    ASSERT_EQ(log.failures().size(), 2);
    EXPECT_EQ(log.failures()[0].kind, SettingsFailure::NotRead);
    EXPECT_EQ(log.failures()[1].kind, SettingsFailure::NotSavedUnread);
    for (const SettingsFailure& failure : log.failures())
        EXPECT_EQ(failure.reason, "the folder is missing");
}

TEST_F(SettingsLink, ATargetAwayForAMomentIsNotWrittenOver)
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
    writeNew(file());
    EXPECT_EQ(log.only().kind, SettingsFailure::NotSavedUnread);
    EXPECT_EQ(readFile(target()), OLD);
    EXPECT_FALSE(beginSettings(file()).has_value());
    writeNew(file());
    expectOnlyTheTargetIsNew();
}

TEST_F(SettingsLink, AFolderOfTheTargetWithoutPermissionIsToldAtStart)
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

TEST_F(SettingsLink, LinksInACircleAreToldAndStay)
{
    makeLink(file(), "other");
    makeLink(directory() + "/other", file());
    const WarningLog warnings;
    const FailureLog log;
    writeNew(file());
    EXPECT_TRUE(isLink(file()));
    EXPECT_TRUE(isLink(directory() + "/other"));
    ASSERT_EQ(log.failures().size(), 2);
    EXPECT_EQ(log.failures()[0].kind, SettingsFailure::NotRead);
    EXPECT_EQ(log.failures()[1].kind, SettingsFailure::NotSavedUnread);
    EXPECT_EQ(log.failures()[1].reason, "the link leads in a circle");
    EXPECT_EQ(entries(), QStringList({"elsewhere", "ormu_sipsetup.cfg", "other"}));
}

TEST_F(SettingsLink, ADamagedTargetIsKeptBesideIt)
{
    writeFile(target(), GARBAGE);
    makeLink(file(), "elsewhere/" + TARGET);
    const WarningLog warnings;
    writeNew(file());
    EXPECT_TRUE(isLink(file()));
    EXPECT_EQ(readFile(target()), NEW);
    EXPECT_EQ(readFile(target() + ".damaged"), GARBAGE);
    EXPECT_EQ(FileIdentity(target() + ".damaged").mode & 07777, 0600U);
    EXPECT_EQ(targets(), QStringList({TARGET, TARGET + ".damaged"}));
}

TEST_F(SettingsLink, WritersByTheLinkAndByTheTargetLoseNothing)
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

// What writers that died left, and what may look like it.
class SettingsLeftovers : public SettingsLink
{
protected:
    void expectAfterNextSave(const QStringList& gone, const QStringList& kept)
    {
        for (const QString& entry : gone + kept)
            writeFile(directory() + "/" + entry, "Password=secret");
        writeNew(file());
        const QStringList left = entries();
        for (const QString& entry : gone)
            EXPECT_FALSE(left.contains(entry)) << qPrintable(entry);
        for (const QString& entry : kept)
            EXPECT_TRUE(left.contains(entry)) << qPrintable(entry);
        EXPECT_EQ(readFile(), NEW);
    }
};

TEST_F(SettingsLeftovers, AreRemovedByTheNextWriterAndNothingElseIs)
{
    const QString file = "ormu_sipsetup.cfg";
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
    writeNew(file());
    EXPECT_EQ(readFile(foreign), "foreign");
    EXPECT_TRUE(isLink(linked));
    EXPECT_TRUE(QDir(folder).exists());
}

TEST_F(SettingsLeftovers, BesideTheTargetAndBesideTheLinkAreRemoved)
{
    makeLink(file(), "elsewhere/" + TARGET);
    writeFile(target() + ".~aaaaa", "secret");
    writeFile(file() + ".old.~bbbbb", "secret");
    writeNew(file());
    EXPECT_EQ(targets(), QStringList(TARGET));
    EXPECT_EQ(entries(), QStringList({"elsewhere", "ormu_sipsetup.cfg"}));
}

TEST_F(SettingsLeftovers, OfAWriterAtWorkAreNotTouched)
{
    constexpr int writers = 4;
    constexpr int rounds = 50;
    std::vector<pid_t> children;
    for (int writer = 0; writer < writers; ++writer)
        children.push_back(startChild([&, writer] {
            const FailureLog log;
            for (int round = 0; round < rounds; ++round)
                SETUP_SET_Manager(file(), false)
                    .setSettingInfo("Shared", QString("%1x%2").arg(writer).arg(round), true);
            return log.failures().isEmpty() ? 0 : 1;
        }));
    for (const pid_t child : children)
        EXPECT_EQ(waitForChild(child), 0);
    EXPECT_EQ(readFile().count("=true\n"), writers * rounds);
    EXPECT_EQ(entries(), QStringList({"elsewhere", "ormu_sipsetup.cfg"}));
}

} // namespace
