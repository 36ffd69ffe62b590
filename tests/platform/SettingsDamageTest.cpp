// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ManagerTest.h"

#include <random>

namespace {

using SettingsDamage = ManagerTest;

TEST_F(SettingsDamage, LeavesADamagedFileAloneWithoutAChange)
{
    writeFile(GARBAGE);
    EXPECT_EQ(readText("Group", "Key"), "(default)");
    SETUP_SET_Manager(file(), false).clearGroup("Group");
    EXPECT_EQ(readFile(), GARBAGE);
    EXPECT_EQ(entries(), QStringList(FILE_NAME));
    EXPECT_EQ(warnings.lines().size(), 2);
}

TEST_F(SettingsDamage, KeepsAnythingInTheFilesPlace)
{
    const QByteArray withNul("[Group]\nKey=before\0behind\n", 26);
    const std::function<void()> makes[] = {
        [&] { writeFile(GARBAGE); },
        // The key file would read it, but lose the rest of the line.
        [&] { writeFile(withNul); },
        [&] { ASSERT_TRUE(QDir().mkpath(file())); },
        [&] { ASSERT_EQ(mkfifo(name(file()).constData(), 0600), 0); },
    };
    QStringList expected = {FILE_NAME};
    for (size_t i = 0; i < std::size(makes); ++i) {
        SCOPED_TRACE(i);
        QFile::remove(file());
        makes[i]();
        const ino_t inode = FileIdentity(file()).inode;
        EXPECT_EQ(readText("Group", "Key"), "(default)");
        writeNew();
        EXPECT_EQ(readFile(), NEW);
        expected += FILE_NAME + ".damaged" + (i == 0 ? QString() : QString(".%1").arg(i));
        EXPECT_EQ(FileIdentity(directory() + "/" + expected.last()).inode, inode);
        EXPECT_EQ(entries(), expected);
    }
    EXPECT_EQ(readFile(kept()), GARBAGE);
    EXPECT_EQ(readFile(kept() + ".1"), withNul);
}

TEST_F(SettingsDamage, MakesTheKeptFilePrivate)
{
    for (const mode_t mode : {0644U, 0666U, 0777U, 04600U}) {
        writeFile(GARBAGE);
        setMode(file(), mode);
        writeNew();
        EXPECT_EQ(modeOf(kept()), 0600U) << std::oct << mode;
        ASSERT_TRUE(QFile::remove(kept()));
    }
}

TEST_F(SettingsDamage, QuotesTheFileInNoWarning)
{
    writeFile(GARBAGE);
    writeText(file(), "Group", "Key", "secret");
    ASSERT_EQ(warnings.lines().size(), 3);
    for (const QString& line : warnings.lines()) {
        EXPECT_TRUE(line.contains(FILE_NAME));
        EXPECT_FALSE(line.contains("hunter2") || line.contains("secret") || line.contains('\n'));
    }
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

// Every value of the sample; the default for a missing one.
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

// Writes a key over any content. The values that could be read before can be read after, or the whole content
// is kept.
void expectNothingLost(const QString& path, const QByteArray& bytes)
{
    const QString kept = path + ".damaged";
    QFile::remove(kept);
    SettingsDirectory::writeFile(path, bytes);
    const QStringList before = sampleValues(path);
    SETUP_SET_Manager(path, false).setSettingInfo("Added", "Key", 5);
    int added = 0;
    SETUP_SET_Manager(path, false).getSettingInfo("Added", "Key", added, 0);
    ASSERT_EQ(added, 5);
    if (QFile::exists(kept))
        ASSERT_EQ(SettingsDirectory::readFile(kept), bytes);
    else
        ASSERT_EQ(sampleValues(path), before);
}

TEST_F(SettingsDamage, KeepsReadableValuesOfAFileCutAtAnyByte)
{
    const QByteArray whole = sampleFile();
    int readable = 0;
    for (qsizetype length = 0; length <= whole.size(); ++length) {
        SCOPED_TRACE(length);
        ASSERT_NO_FATAL_FAILURE(expectNothingLost(file(), whole.first(length)));
        readable += sampleValues(file()).contains("sip0.example");
    }
    EXPECT_GT(readable, 0);
    EXPECT_FALSE(warnings.lines().isEmpty());
}

TEST_F(SettingsDamage, KeepsReadableValuesOfRandomBytes)
{
    std::mt19937 random(2);
    std::uniform_int_distribution<int> anyByte(0, 255);
    for (int round = 0; round < 250; ++round) {
        SCOPED_TRACE(round);
        // All of the bytes, or a few in a good file.
        const bool isGood = round % 2 == 0;
        QByteArray bytes = isGood ? sampleFile() : QByteArray(round * 3, '\0');
        for (qsizetype i = 0; i < (isGood ? 1 + round % 5 : bytes.size()); ++i)
            bytes[isGood ? static_cast<qsizetype>(random() % static_cast<size_t>(bytes.size())) : i] =
                static_cast<char>(anyByte(random));
        ASSERT_NO_FATAL_FAILURE(expectNothingLost(file(), bytes));
    }
    EXPECT_FALSE(warnings.lines().isEmpty());
}

} // namespace
