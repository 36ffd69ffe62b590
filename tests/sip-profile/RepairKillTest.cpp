#include "ChildProcess.h"
#include "ProfileFile.h"
#include "ProfileRepair.h"
#include "SettingsFixture.h"

#include <QFile>

#include <gmock/gmock.h>

#include <iostream>

namespace {

constexpr int MOST_CALLS = 1000;

const QByteArray BROKEN = "[ProfileSummary]\nTotalProfile=4\n[Profile1]\nDisplayName=B\nPassword=secret\n"
                          "[Profile2]\nDisplayName=C\n[SystemDefault]\nProfile=Profile2\n";

class KilledRepair : public SettingsTest
{
protected:
    void restore() const
    {
        for (const QString& name : entries())
            QFile::remove(directory() + "/" + name);
        writeFile(BROKEN);
        ASSERT_EQ(chmod(QFile::encodeName(file()).constData(), 0600), 0);
    }

    int repairInChild() const
    {
        return runInChild([this] { return static_cast<int>(repairProfileFile(file()).outcome); });
    }

    void expectNothingOpenToOthers() const
    {
        for (const QString& name : entries()) {
            EXPECT_THAT(name.toStdString(), testing::MatchesRegex("ormu_sipsetup.cfg(.old)?([.]......)?"));
            EXPECT_EQ(FileIdentity(directory() + "/" + name).mode & 07777, 0600u) << qPrintable(name);
        }
    }
};

TEST_F(KilledRepair, LeavesTheOldFileOrTheNewOneWholeAndTheNextOneFinishes)
{
    umask(0);
    restore();
    ASSERT_EQ(repairInChild(), ProfileRepair::Repaired);
    const QByteArray repaired = readFile();
    ASSERT_TRUE(ProfileFile(repaired).findings().isEmpty());
    ASSERT_NE(repaired, BROKEN);

    int killed = 0;
    int kept = 0;
    for (;; ++killed) {
        ASSERT_LT(killed, MOST_CALLS);
        SCOPED_TRACE(testing::Message() << "killed before system call " << killed);
        restore();
        const Kill result = killBeforeSystemCall(
            killed, [] {}, [this] { repairProfileFile(file()); });
        ASSERT_NE(result, Kill::Failed);
        const QByteArray now = readFile();
        if (result == Kill::NoSuchCall)
            break;
        ASSERT_TRUE(now == BROKEN || now == repaired);
        kept += now == BROKEN;
        if (now == repaired) {
            ASSERT_EQ(readFile(file() + ".old"), BROKEN);
        }
        expectNothingOpenToOthers();

        ASSERT_EQ(repairInChild(), now == BROKEN ? ProfileRepair::Repaired : ProfileRepair::NothingToDo);
        ASSERT_EQ(readFile(), repaired);
        ASSERT_EQ(readFile(file() + ".old"), BROKEN);
        ASSERT_FALSE(QFile::exists(file() + ".old.1"));
    }
    std::cout << "[ KILLED   ] before each of " << killed << " system calls; " << kept
              << " times the old file, " << killed - kept << " times the new one\n";
    EXPECT_GT(kept, 0);
    EXPECT_LT(kept, killed);
}

TEST_F(KilledRepair, LeavesNothingBesideTheFileWhenItIsATidy)
{
    umask(0);
    restore();
    ASSERT_EQ(runInChild([this] { return static_cast<int>(tidyProfileFile(file()).outcome); }),
              ProfileRepair::Repaired);
    const QByteArray tidied = readFile();
    int killed = 0;
    int kept = 0;
    for (;; ++killed) {
        ASSERT_LT(killed, MOST_CALLS);
        SCOPED_TRACE(testing::Message() << "killed before system call " << killed);
        restore();
        const Kill result = killBeforeSystemCall(
            killed, [] {}, [this] { tidyProfileFile(file()); });
        ASSERT_NE(result, Kill::Failed);
        if (result == Kill::NoSuchCall)
            break;
        const QByteArray now = readFile();
        ASSERT_TRUE(now == BROKEN || now == tidied);
        kept += now == BROKEN;
        expectNothingOpenToOthers();
        ASSERT_FALSE(QFile::exists(file() + ".old"));
    }
    ASSERT_EQ(entries(), QStringList("ormu_sipsetup.cfg"));
    std::cout << "[ KILLED   ] before each of " << killed << " system calls; " << kept
              << " times the old file, " << killed - kept << " times the new one\n";
    EXPECT_GT(kept, 0);
    EXPECT_LT(kept, killed);
}

} // namespace
