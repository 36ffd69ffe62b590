#include "ChildProcess.h"
#include "SETUP_SET_Manager.h"
#include "SettingsFixture.h"

#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

#include <random>
#include <sys/stat.h>

namespace {

using SettingsDamage = SettingsTest;

const QString DAMAGED = QStringLiteral("ormu_sipsetup.cfg.damaged");
const QByteArray GARBAGE = "Password hunter2\n";

QString readText(const QString& path, const QString& group, const QString& key)
{
    QString text;
    SETUP_SET_Manager(path, false).getSettingInfo(group, key, text, "(default)", false);
    return text;
}

void writeText(const QString& path, const QString& text)
{
    SETUP_SET_Manager(path, false).setSettingInfo("Added", "Key", text, false);
}

QByteArray sampleFile()
{
    QByteArray bytes = "# Profiles of this phone\n\n[ProfileSummary]\nTotalProfile=2\n\n";
    for (int i = 0; i < 2; ++i) {
        const QByteArray number = QByteArray::number(i);
        bytes += "[Profile" + number + "]\nDisplayName=Büro " + number + "\nServer=sip" + number +
                 ".example\nPortNum=506" + number + "\nPassword=\\s\\\\a\\n\nLocked=true\n\n";
    }
    return bytes + "[SystemDefault]\nProfile=Profile1\n";
}

// Every value of the sample, the defaults for those that are not there.
QStringList sampleValues(const QString& path)
{
    const SETUP_SET_Manager manager(path, false);
    QStringList values;
    for (const char* group : {"ProfileSummary", "Profile0", "Profile1", "SystemDefault"}) {
        for (const char* key :
             {"TotalProfile", "DisplayName", "Server", "PortNum", "Password", "Locked", "Profile"}) {
            QString value;
            manager.getSettingInfo(group, key, value, "(default)", false);
            values.append(value);
        }
    }
    return values;
}

TEST_F(SettingsDamage, AFileThatCannotBeParsedReadsAsEmptyAndIsLeftAlone)
{
    writeFile(GARBAGE);
    WarningLog warnings;
    EXPECT_EQ(readText(file(), "Added", "Key"), "(default)");
    SETUP_SET_Manager(file(), false).clearGroup("Added");
    EXPECT_EQ(readFile(), GARBAGE);
    EXPECT_EQ(entries(), QStringList("ormu_sipsetup.cfg"));
    EXPECT_EQ(warnings.lines().size(), 2);
}

TEST_F(SettingsDamage, AFileThatCannotBeParsedIsKeptBesideItsReplacement)
{
    writeFile(GARBAGE);
    const WarningLog warnings;
    const ino_t inode = FileIdentity(file()).inode;
    writeText(file(), "new");
    EXPECT_EQ(readText(file(), "Added", "Key"), "new");
    EXPECT_EQ(readFile(directory() + "/" + DAMAGED), GARBAGE);
    EXPECT_EQ(FileIdentity(directory() + "/" + DAMAGED).inode, inode);
    EXPECT_EQ(entries(), QStringList({"ormu_sipsetup.cfg", DAMAGED}));
}

TEST_F(SettingsDamage, TheKeptFileIsForItsUserAloneWhateverItWas)
{
    const WarningLog warnings;
    for (const mode_t mode : {0644U, 0666U, 0777U, 04600U}) {
        writeFile(GARBAGE);
        ASSERT_EQ(chmod(QFile::encodeName(file()).constData(), mode), 0);
        writeText(file(), "new");
        EXPECT_EQ(FileIdentity(directory() + "/" + DAMAGED).mode & 07777, 0600U) << std::oct << mode;
        ASSERT_TRUE(QFile::remove(directory() + "/" + DAMAGED));
    }
}

TEST_F(SettingsDamage, EachDamagedFileIsKeptUnderAFreeName)
{
    const WarningLog warnings;
    for (const char* text : {"first", "second", "third"}) {
        writeFile(QByteArray(text) + " garbage");
        writeText(file(), text);
    }
    EXPECT_EQ(readFile(directory() + "/" + DAMAGED), "first garbage");
    EXPECT_EQ(readFile(directory() + "/" + DAMAGED + ".1"), "second garbage");
    EXPECT_EQ(readFile(directory() + "/" + DAMAGED + ".2"), "third garbage");
    EXPECT_EQ(readText(file(), "Added", "Key"), "third");
}

TEST_F(SettingsDamage, NoWarningQuotesTheFile)
{
    writeFile(GARBAGE);
    WarningLog warnings;
    writeText(file(), "secret");
    ASSERT_EQ(warnings.lines().size(), 3);
    for (const QString& line : warnings.lines()) {
        EXPECT_THAT(line.toStdString(), testing::HasSubstr("ormu_sipsetup.cfg"));
        EXPECT_FALSE(line.contains("hunter2") || line.contains("secret") || line.contains('\n'));
    }
}

TEST_F(SettingsDamage, ANulMakesAFileUnreadableInsteadOfLosingTheRestOfItsLine)
{
    const QByteArray bytes("[Group]\nKey=before\0behind\n", 26);
    writeFile(bytes);
    WarningLog warnings;
    EXPECT_EQ(readText(file(), "Group", "Key"), "(default)");
    writeText(file(), "new");
    EXPECT_EQ(readFile(directory() + "/" + DAMAGED), bytes);
}

TEST_F(SettingsDamage, ADirectoryInTheFilesPlaceIsMovedAside)
{
    ASSERT_TRUE(QDir().mkpath(file() + "/inside"));
    WarningLog warnings;
    EXPECT_EQ(readText(file(), "Added", "Key"), "(default)");
    writeText(file(), "new");
    EXPECT_EQ(readText(file(), "Added", "Key"), "new");
    EXPECT_TRUE(QDir(directory() + "/" + DAMAGED + "/inside").exists());
}

TEST_F(SettingsDamage, ADirectoryDoesNotTakeTheNameOfWhatWasKeptBefore)
{
    ASSERT_TRUE(QDir().mkpath(file()));
    ASSERT_TRUE(QDir().mkpath(directory() + "/" + DAMAGED));
    WarningLog warnings;
    writeText(file(), "new");
    EXPECT_EQ(entries(), QStringList({"ormu_sipsetup.cfg", DAMAGED, DAMAGED + ".1"}));
}

TEST_F(SettingsDamage, APipeInTheFilesPlaceIsNotWaitedFor)
{
    ASSERT_EQ(mkfifo(QFile::encodeName(file()).constData(), 0600), 0);
    WarningLog warnings;
    EXPECT_EQ(readText(file(), "Added", "Key"), "(default)");
    writeText(file(), "new");
    EXPECT_EQ(readText(file(), "Added", "Key"), "new");
    EXPECT_TRUE(S_ISFIFO(FileIdentity(directory() + "/" + DAMAGED).mode));
}

TEST_F(SettingsDamage, AMissingDirectoryLosesTheChangeWithAWarning)
{
    const QString path = directory() + "/missing/file.cfg";
    WarningLog warnings;
    EXPECT_EQ(readText(path, "Added", "Key"), "(default)");
    EXPECT_EQ(warnings.lines().size(), 1);
    writeText(path, "new");
    EXPECT_GT(warnings.lines().size(), 1);
    EXPECT_TRUE(entries().isEmpty());
}

TEST_F(SettingsDamage, AFileInTheDirectorysPlaceIsLeftAlone)
{
    writeFile(directory() + "/file", "content");
    WarningLog warnings;
    writeText(directory() + "/file/settings.cfg", "new");
    EXPECT_EQ(readFile(directory() + "/file"), "content");
    EXPECT_EQ(entries(), QStringList("file"));
    EXPECT_FALSE(warnings.lines().isEmpty());
}

TEST_F(SettingsDamage, AFileThatMayNotBeReadIsLeftAlone)
{
    writeFile(sampleFile());
    ASSERT_EQ(chmod(QFile::encodeName(file()).constData(), 0), 0);
    const FileIdentity before(file());
    const int result = runUnprivileged(directory(), [&] {
        if (QFile(file()).open(QIODevice::ReadOnly))
            return 1; // The fault would not be one.
        const WarningLog warnings;
        if (readText(file(), "SystemDefault", "Profile") != "(default)")
            return 2;
        writeText(file(), "new");
        return readText(file(), "Added", "Key") == "(default)" ? 0 : 3;
    });
    ASSERT_EQ(result, 0);
    EXPECT_EQ(FileIdentity(file()), before);
    EXPECT_EQ(entries(), QStringList("ormu_sipsetup.cfg"));
    ASSERT_EQ(chmod(QFile::encodeName(file()).constData(), 0600), 0);
    EXPECT_EQ(readFile(), sampleFile());
}

TEST_F(SettingsDamage, AReadOnlyDirectoryKeepsItsFileAsItIs)
{
    for (const QByteArray& bytes : {sampleFile(), GARBAGE}) {
        writeFile(bytes);
        ASSERT_EQ(chmod(QFile::encodeName(file()).constData(), 0600), 0);
        ASSERT_EQ(chmod(QFile::encodeName(directory()).constData(), 0500), 0);
        const FileIdentity before(file());
        const int result = runUnprivileged(directory(), [&] {
            if (QFile(directory() + "/probe").open(QIODevice::WriteOnly))
                return 1; // The fault would not be one.
            const WarningLog warnings;
            writeText(file(), "new");
            return warnings.lines().isEmpty() ? 2 : 0;
        });
        ASSERT_EQ(chmod(QFile::encodeName(directory()).constData(), 0700), 0);
        ASSERT_EQ(result, 0);
        EXPECT_EQ(FileIdentity(file()), before);
        EXPECT_EQ(readFile(), bytes);
        EXPECT_EQ(entries(), QStringList("ormu_sipsetup.cfg"));
    }
}

// Writes a key over whatever stands there. What could be read before can be read after, or all of it is kept.
void expectNothingLost(const QString& path, const QByteArray& bytes)
{
    const QString kept = path + ".damaged";
    QFile::remove(kept);
    const QStringList before = sampleValues(path);
    writeText(path, "new");
    ASSERT_EQ(readText(path, "Added", "Key"), "new");
    if (QFile::exists(kept)) {
        QFile file(kept);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        ASSERT_EQ(file.readAll(), bytes);
    } else {
        ASSERT_EQ(sampleValues(path), before);
    }
}

TEST_F(SettingsDamage, AFileCutAtAnyByteLosesNothingMore)
{
    const QByteArray whole = sampleFile();
    const WarningLog warnings;
    int readable = 0;
    for (qsizetype length = 0; length <= whole.size(); ++length) {
        SCOPED_TRACE(testing::Message() << "cut at " << length);
        writeFile(whole.first(length));
        readable += sampleValues(file()).contains("sip0.example");
        ASSERT_NO_FATAL_FAILURE(expectNothingLost(file(), whole.first(length)));
    }
    EXPECT_GT(readable, 0);
    EXPECT_FALSE(warnings.lines().isEmpty());
}

TEST_F(SettingsDamage, RandomBytesAreKept)
{
    std::mt19937 random(2);
    std::uniform_int_distribution<int> anyByte(0, 255);
    const WarningLog warnings;
    for (int round = 0; round < 100; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        QByteArray bytes(round * 6, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(anyByte(random));
        writeFile(bytes);
        ASSERT_NO_FATAL_FAILURE(expectNothingLost(file(), bytes));
    }
    EXPECT_FALSE(warnings.lines().isEmpty());
}

TEST_F(SettingsDamage, AFileWithAFewWrongBytesLosesNothingMore)
{
    const QByteArray whole = sampleFile();
    std::mt19937 random(3);
    std::uniform_int_distribution<int> anyByte(0, 255);
    std::uniform_int_distribution<qsizetype> anyPlace(0, whole.size() - 1);
    const WarningLog warnings;
    for (int round = 0; round < 150; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        QByteArray bytes = whole;
        for (int i = 0; i < 1 + round % 5; ++i)
            bytes[anyPlace(random)] = static_cast<char>(anyByte(random));
        writeFile(bytes);
        ASSERT_NO_FATAL_FAILURE(expectNothingLost(file(), bytes));
    }
}

} // namespace
