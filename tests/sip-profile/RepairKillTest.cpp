// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

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

using Mend = ProfileRepair(const QString& path);

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

    int mendInChild(Mend* mend) const
    {
        return runInChild([&] { return static_cast<int>(mend(file()).outcome); });
    }

    void expectNothingOpenToOthers() const
    {
        for (const QString& name : entries()) {
            EXPECT_THAT(name.toStdString(), testing::MatchesRegex("ormu_sipsetup.cfg(.old)?([.]......)?"));
            EXPECT_EQ(FileIdentity(directory() + "/" + name).mode & 07777, 0600u) << qPrintable(name);
        }
    }

    // Kills mend before each of its system calls. verify is called with the file that is left, and with the
    // result of a mend that ran to its end.
    template <class Verify>
    void killEverywhere(Mend* mend, const Verify& verify)
    {
        umask(0);
        restore();
        ASSERT_EQ(mendInChild(mend), ProfileRepair::Repaired);
        const QByteArray mended = readFile();
        ASSERT_TRUE(ProfileFile(mended).findings().isEmpty());
        ASSERT_NE(mended, BROKEN);

        int killed = 0;
        int kept = 0;
        for (;; ++killed) {
            ASSERT_LT(killed, MOST_CALLS);
            SCOPED_TRACE(testing::Message() << "killed before system call " << killed);
            restore();
            const Kill result = killBeforeSystemCall(
                killed, [] {}, [&] { mend(file()); });
            ASSERT_NE(result, Kill::Failed);
            if (result == Kill::NoSuchCall)
                break;
            const QByteArray now = readFile();
            ASSERT_TRUE(now == BROKEN || now == mended);
            kept += now == BROKEN;
            expectNothingOpenToOthers();
            ASSERT_NO_FATAL_FAILURE(verify(now, mended));
        }
        std::cout << "[ KILLED   ] before each of " << killed << " system calls; " << kept
                  << " times the old file, " << killed - kept << " times the new one\n";
        EXPECT_GT(kept, 0);
        EXPECT_LT(kept, killed);
    }
};

TEST_F(KilledRepair, LeavesAWholeFileAndTheNextRepairFinishes)
{
    killEverywhere(repairProfileFile, [this](const QByteArray& now, const QByteArray& mended) {
        if (now == mended) {
            ASSERT_EQ(readFile(file() + ".old"), BROKEN);
        }
        ASSERT_EQ(mendInChild(repairProfileFile),
                  now == BROKEN ? ProfileRepair::Repaired : ProfileRepair::NothingToDo);
        ASSERT_EQ(readFile(), mended);
        ASSERT_EQ(readFile(file() + ".old"), BROKEN);
        ASSERT_FALSE(QFile::exists(file() + ".old.1"));
    });
}

TEST_F(KilledRepair, LeavesNoCopyWhenItIsATidy)
{
    killEverywhere(tidyProfileFile, [this](const QByteArray&, const QByteArray&) {
        ASSERT_FALSE(QFile::exists(file() + ".old"));
    });
    ASSERT_EQ(entries(), QStringList("ormu_sipsetup.cfg"));
}

} // namespace
