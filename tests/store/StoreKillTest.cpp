// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ChildProcess.h"
#include "StoreTest.h"

#include <QFile>
#include <QFileInfo>

#include <gmock/gmock.h>

#include <iostream>

namespace {

constexpr int MOST_CALLS = 1000;

const QByteArray DAMAGED = "damaged";

struct KilledOperation
{
    const char* name;
    void (*makeFile)(const QString& path);
    void (*run)();
};

void makeNoFile(const QString&) {}

void makeProfiles(const QString&)
{
    StoreTest::addThree();
}

void makeDamagedFile(const QString& path)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(DAMAGED), DAMAGED.size());
}

// A link to a file beside it.
constexpr char TARGET[] = "target.cfg";

void makeLinkToProfiles(const QString& path)
{
    const QString target = QFileInfo(path).path() + "/" + TARGET;
    ASSERT_TRUE(QFile::link(TARGET, path));
    makeProfiles(path);
    ASSERT_TRUE(QFile::exists(target));
}

void makeLinkToNothing(const QString& path)
{
    ASSERT_TRUE(QFile::link(TARGET, path));
}

void makeLinkToDamagedFile(const QString& path)
{
    ASSERT_TRUE(QFile::link(TARGET, path));
    makeDamagedFile(path);
}

class KilledStore : public StoreTest, public testing::WithParamInterface<KilledOperation>
{
protected:
    // Nothing when there is no file.
    std::optional<QByteArray> content() const
    {
        return QFile::exists(file()) ? std::optional(readFile()) : std::nullopt;
    }

    void restore(const std::optional<QByteArray>& old) const
    {
        for (const QString& name : entries()) {
            if (!isLink(directory() + "/" + name))
                QFile::remove(directory() + "/" + name);
        }
        writeFile(leftover(), "secret");
        ASSERT_EQ(chmod(QFile::encodeName(leftover()).constData(), 0600), 0);
        if (old) {
            writeFile(*old);
            ASSERT_EQ(chmod(QFile::encodeName(file()).constData(), 0600), 0);
        }
    }

    // Of a writer that died earlier.
    QString leftover() const { return realFile() + ".~aaaaa"; }
    int leftTemporaries() const { return static_cast<int>(entries().filter(".~").size()); }

    static bool isLink(const QString& path) { return S_ISLNK(FileIdentity(path).mode); }

    // The file, or the target of the link in its place.
    QString realFile() const
    {
        const QString target = directory() + "/" + TARGET;
        return QFile::symLinkTarget(file()).isEmpty() ? file() : target;
    }

    // Beside the file there is nothing but the temporary that the kill left, and the damaged file that is
    // kept.
    void expectNothingOpenToOthers() const
    {
        for (const QString& name : entries()) {
            const QString path = directory() + "/" + name;
            if (isLink(path)) {
                EXPECT_EQ(path, file());
                continue;
            }
            EXPECT_TRUE(path.startsWith(realFile())) << qPrintable(name);
            EXPECT_THAT(path.mid(realFile().size()).toStdString(),
                        testing::MatchesRegex("(.damaged|[.]~.....)?"));
            EXPECT_EQ(FileIdentity(directory() + "/" + name).mode & 07777, 0600u) << qPrintable(name);
        }
    }
};

TEST_P(KilledStore, LeavesTheOldFileOrTheNewOneWhole)
{
    const WarningLog warnings;
    umask(0);
    GetParam().makeFile(file());
    SETUP_SIP_Agent::cleanup();
    const std::optional<QByteArray> before = content();
    ASSERT_EQ(runInChild([] {
                  GetParam().run();
                  return 0;
              }),
              0);
    const std::optional<QByteArray> after = content();
    ASSERT_TRUE(after.has_value() && after != before);

    const bool wasLink = !QFile::symLinkTarget(file()).isEmpty();
    int killed = 0;
    int kept = 0;
    int left = 0; // temporary files
    for (;; ++killed) {
        ASSERT_LT(killed, MOST_CALLS);
        SCOPED_TRACE(testing::Message() << "killed before system call " << killed);
        restore(before);
        const Kill result = killBeforeSystemCall(
            killed, [] { SETUP_SIP_Agent::instance(); }, GetParam().run);
        ASSERT_NE(result, Kill::Failed);
        const std::optional<QByteArray> now = content();
        if (result == Kill::NoSuchCall) {
            ASSERT_EQ(now, after);
            break;
        }
        ASSERT_TRUE(now == before || now == after);
        kept += now == before;
        if (before == DAMAGED && now == after) {
            ASSERT_EQ(readFile(realFile() + ".damaged"), DAMAGED);
        }
        expectNothingOpenToOthers();
        ASSERT_EQ(!QFile::symLinkTarget(file()).isEmpty(), wasLink);
        left += leftTemporaries() - QFile::exists(leftover());

        // The next one succeeds in spite of what the killed one left.
        ASSERT_EQ(runInChild([] {
                      GetParam().run();
                      return 0;
                  }),
                  0);
        if (now == before) {
            ASSERT_EQ(content(), after);
            ASSERT_EQ(leftTemporaries(), 0);
        }
    }
    EXPECT_GT(left, 0);
    std::cout << "[ KILLED   ] " << GetParam().name << ": before each of " << killed << " system calls; "
              << kept << " times the old file, " << killed - kept << " times the new one\n";
    RecordProperty("kill_points", killed);
    EXPECT_GT(kept, 0);
    EXPECT_LT(kept, killed);
}

INSTANTIATE_TEST_SUITE_P(
    Each, KilledStore,
    testing::Values(KilledOperation{"FirstProfile", makeNoFile, StoreTest::addOne},
                    KilledOperation{"AddProfile", makeProfiles, StoreTest::addOne},
                    KilledOperation{"ChangeProfile", makeProfiles, StoreTest::changeOne},
                    KilledOperation{"DeleteDefaultProfile", makeProfiles, StoreTest::deleteDefault},
                    KilledOperation{"SetDefaultProfile", makeProfiles, StoreTest::moveDefault},
                    KilledOperation{"SaveLastInput", makeProfiles, StoreTest::saveInput},
                    KilledOperation{"AddProfileOverADamagedFile", makeDamagedFile, StoreTest::addOne},
                    KilledOperation{"AddProfileByALink", makeLinkToProfiles, StoreTest::addOne},
                    KilledOperation{"FirstProfileByALink", makeLinkToNothing, StoreTest::addOne},
                    KilledOperation{"AddProfileByALinkToADamagedFile", makeLinkToDamagedFile,
                                    StoreTest::addOne}),
    [](const auto& operation) { return std::string(operation.param.name); });

} // namespace
