#include "ChildProcess.h"
#include "StoreTest.h"

#include <QFile>

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
    for (const char* name : {"A", "B", "C"})
        addProfile(name);
    SETUP_SIP_Agent::instance()->setDefaultProfile("B");
}

void makeDamagedFile(const QString& path)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(DAMAGED), DAMAGED.size());
}

void addOne()
{
    addProfile("D");
}

void changeOne()
{
    SIP_PROFILE_CONTENT record = unusualRecord("A");
    SETUP_SIP_Agent::instance()->setProfileInfo(record, "A");
}

void deleteDefault()
{
    SETUP_SIP_Agent::instance()->deleteProfile("B");
}

void moveDefault()
{
    SETUP_SIP_Agent::instance()->setDefaultProfile("C");
}

void saveInput()
{
    SETUP_SIP_Agent::saveLastInputUserIDPassword("user", "password", true);
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
        for (const QString& name : entries())
            QFile::remove(directory() + "/" + name);
        if (old) {
            writeFile(*old);
            ASSERT_EQ(chmod(QFile::encodeName(file()).constData(), 0600), 0);
        }
    }

    // Beside the file there is nothing but the temporary that the kill left, and the damaged file that is
    // kept.
    void expectNothingOpenToOthers() const
    {
        for (const QString& name : entries()) {
            EXPECT_THAT(name.toStdString(), testing::MatchesRegex("ormu_sipsetup.cfg(.damaged|[.]......)?"));
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

    int killed = 0;
    int kept = 0;
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
            ASSERT_EQ(readFile(file() + ".damaged"), DAMAGED);
        }
        expectNothingOpenToOthers();

        // Nor is the next one held up by what the killed one left.
        ASSERT_EQ(runInChild([] {
                      GetParam().run();
                      return 0;
                  }),
                  0);
        if (now == before) {
            ASSERT_EQ(content(), after);
        }
    }
    std::cout << "[ KILLED   ] " << GetParam().name << ": before each of " << killed << " system calls; "
              << kept << " times the old file, " << killed - kept << " times the new one\n";
    RecordProperty("kill_points", killed);
    EXPECT_GT(kept, 0);
    EXPECT_LT(kept, killed);
}

INSTANTIATE_TEST_SUITE_P(Each, KilledStore,
                         testing::Values(KilledOperation{"FirstProfile", makeNoFile, addOne},
                                         KilledOperation{"AddProfile", makeProfiles, addOne},
                                         KilledOperation{"ChangeProfile", makeProfiles, changeOne},
                                         KilledOperation{"DeleteDefaultProfile", makeProfiles, deleteDefault},
                                         KilledOperation{"SetDefaultProfile", makeProfiles, moveDefault},
                                         KilledOperation{"SaveLastInput", makeProfiles, saveInput},
                                         KilledOperation{"AddProfileOverADamagedFile", makeDamagedFile,
                                                         addOne}),
                         [](const auto& operation) { return std::string(operation.param.name); });

} // namespace
