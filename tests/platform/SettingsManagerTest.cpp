// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ManagerTest.h"

#include <climits>

namespace {

class SettingsManager : public ManagerTest
{
protected:
    template <class Value>
    Value readValue(const QString& key, Value defaultValue) const
    {
        Value value = Value();
        SETUP_SET_Manager(file(), false).getSettingInfo("Group", key, value, defaultValue);
        return value;
    }
    template <class Value>
    void writeValue(Value value) const
    {
        SETUP_SET_Manager(file(), false).setSettingInfo("Group", "Key", value);
    }
    // An inode is soon used again, a time in the past is not.
    FileIdentity identityWithOldTime() const
    {
        const timespec past[2] = {{1000000000, 5}, {1000000000, 7}};
        EXPECT_EQ(utimensat(AT_FDCWD, name(file()).constData(), past, 0), 0);
        return FileIdentity(file());
    }
};

template <class... Value>
concept IsStoredAs = requires(SETUP_SET_Manager& manager, Value... value)
{
    manager.setSettingInfo(QString(), QString(), value...);
};

// A text without its fourth argument would be stored as a boolean.
static_assert(!IsStoredAs<const char*>);
static_assert(!IsStoredAs<char*>);
static_assert(!IsStoredAs<const char16_t*>);
static_assert(!IsStoredAs<const void*>);
static_assert(!IsStoredAs<QString>);
static_assert(!IsStoredAs<QByteArray>);
static_assert(!IsStoredAs<QLatin1String>);
static_assert(!IsStoredAs<const char (&)[8]>);
static_assert(IsStoredAs<const char*, bool>);
static_assert(IsStoredAs<QString, bool>);
static_assert(IsStoredAs<bool>);
static_assert(IsStoredAs<int>);
static_assert(IsStoredAs<unsigned int>);

TEST_F(SettingsManager, ReadsAMissingFileAsDefaultsAndMakesNone)
{
    EXPECT_EQ(readText("Group", "Key"), "(default)");
    EXPECT_TRUE(readValue("Key", true));
    EXPECT_EQ(readValue("Key", -7), -7);
    EXPECT_EQ(readValue("Key", 7U), 7U);
    SETUP_SET_Manager(file(), false).clearGroup("Group");
    EXPECT_TRUE(entries().isEmpty());
}

TEST_F(SettingsManager, ReadsAndReplacesAnEmptyFile)
{
    writeFile("");
    EXPECT_EQ(readText("Group", "Key"), "(default)");
    writeNew();
    EXPECT_EQ(readFile(), NEW);
    EXPECT_EQ(entries(), QStringList(FILE_NAME));
}

TEST_F(SettingsManager, AnswersWithItsUnsavedChanges)
{
    SETUP_SET_Manager manager(file(), false);
    manager.setSettingInfo("Group", "Key", 5);
    int value = 0;
    manager.getSettingInfo("Group", "Key", value, 0);
    EXPECT_EQ(value, 5);
    manager.clearGroup("Group");
    manager.getSettingInfo("Group", "Key", value, 1);
    EXPECT_EQ(value, 1);
}

TEST_F(SettingsManager, ReadsAnyTextBackUnchanged)
{
    const QStringList texts = {"",
                               "  leading and trailing  ",
                               "\tline\nbreak\r\n",
                               "a,b;c",
                               "\"quoted\"",
                               "@Invalid()",
                               "100%20",
                               "[group]",
                               "#comment",
                               "key=value",
                               "\\n\\",
                               "true",
                               QString(QChar(u'\0')) + "behind",
                               QString(QChar(0xd800)),
                               QStringLiteral("Ünïcödé \u2028 電話 \U0001F4DE\U0010FFFF"),
                               QString(100000, u'x')};
    for (const QString& text : texts) {
        writeText(file(), "Group", "Key", text);
        writeText(file(), "Group", "Other", "other");
        EXPECT_EQ(readText("Group", "Key"), text);
    }
    EXPECT_EQ(entries(), QStringList(FILE_NAME));
}

TEST_F(SettingsManager, ReadsNumbersBackOverTheirWholeRange)
{
    for (const int number : {0, -1, INT_MAX, INT_MIN}) {
        writeValue(number);
        EXPECT_EQ(readValue("Key", 5), number);
    }
    for (const unsigned int number : {0U, 5060U, UINT_MAX}) {
        writeValue(number);
        EXPECT_EQ(readValue("Key", 5U), number);
    }
    EXPECT_EQ(readFile(), "[Group]\nKey=4294967295\n");
}

TEST_F(SettingsManager, ReadsABooleanBackAlsoAsItsText)
{
    for (const bool flag : {true, false}) {
        writeValue(flag);
        EXPECT_EQ(readValue("Key", !flag), flag);
        EXPECT_EQ(readText("Group", "Key"), flag ? "true" : "false");
    }
}

TEST_F(SettingsManager, ReadsAValueOfAnotherTypeAsTheDefault)
{
    writeFile("[Group]\nKey=\xe9\n");
    EXPECT_EQ(readText("Group", "Key"), "(default)");
    EXPECT_EQ(readValue("Key", 5), 5);
    EXPECT_EQ(readValue("Key", 5U), 5U);
    EXPECT_TRUE(readValue("Key", true));
    EXPECT_FALSE(readValue("Key", false));
}

TEST_F(SettingsManager, ReadsAFileThatAnotherSystemsEditorSaved)
{
    writeFile("\xEF\xBB\xBF[Group]\r\nKey=value\r\nFlag=1\r\nNumber=-3\r\n");
    EXPECT_EQ(readText("Group", "Key"), "value");
    EXPECT_TRUE(readValue("Flag", false));
    EXPECT_EQ(readValue("Number", 0), -3);
}

TEST_F(SettingsManager, KeepsUnknownLines)
{
    writeFile("# top\n"
              "\n"
              "[Unknown]\n"
              "# inside\n"
              "Name=plain\n"
              "Name[de]=deutsch\n"
              "Odd = a\\b  \n"
              "Latin1=\xe9\n"
              "\n"
              "# above\n"
              "[Group]\n"
              "Key=old\n"
              "# end\n");
    writeText(file(), "Group", "Key", "new");
    // Older releases of GLib insert a line between a comment and its group.
    std::string kept(readFile());
    if (const size_t line = kept.find("\n\n[Group]"); line != std::string::npos)
        kept.erase(line, 1);
    EXPECT_EQ(kept, "# top\n"
                    "\n"
                    "[Unknown]\n"
                    "# inside\n"
                    "Name=plain\n"
                    "Name[de]=deutsch\n"
                    "Odd=a\\b  \n"
                    "Latin1=\xe9\n"
                    "\n"
                    "# above\n"
                    "[Group]\n"
                    "Key=new\n"
                    "# end\n");
}

TEST_F(SettingsManager, ClearsAGroupAndKeepsTheCommentAboveTheNext)
{
    writeFile("[First]\nKey=1\n# inside\nOther=2\n\n# above\n#second line\n[Second]\nKey=2\n");
    SETUP_SET_Manager(file(), false).clearGroup("First");
    EXPECT_EQ(readFile(), "# above\n#second line\n[Second]\nKey=2\n");
}

TEST_F(SettingsManager, ClearsTheLastGroup)
{
    writeFile("[First]\nKey=1\n\n[Second]\nKey=2\n");
    SETUP_SET_Manager(file(), false).clearGroup("Second");
    EXPECT_EQ(readFile().trimmed(), "[First]\nKey=1");
}

TEST_F(SettingsManager, WritesAClearedGroupAgain)
{
    writeFile("[First]\nKey=1\nOther=1\n");
    {
        SETUP_SET_Manager manager(file(), false);
        manager.clearGroup("First");
        manager.setSettingInfo("First", "Key", 2);
    }
    EXPECT_EQ(readFile(), "[First]\nKey=2\n");
}

TEST_F(SettingsManager, WritesNothingWithoutAChange)
{
    const QByteArray bytes =
        "[Group]\r\nText = a\\sb\nFlag=true\nNumber=5\nUnsigned=6\nEscaped=\\sa\\\\\\n\n";
    writeFile(bytes);
    const FileIdentity before = identityWithOldTime();
    {
        SETUP_SET_Manager manager(file(), false);
        QString text;
        manager.getSettingInfo("Group", "Missing", text, "default", false);
        manager.setSettingInfo("Group", "Flag", true);
        manager.setSettingInfo("Group", "Number", 5);
        manager.setSettingInfo("Group", "Unsigned", 6U);
        manager.setSettingInfo("Group", "Escaped", " a\\\n", false);
        manager.clearGroup("Missing");
    }
    EXPECT_EQ(FileIdentity(file()), before);
    EXPECT_EQ(readFile(), bytes);
    writeText(file(), "Group", "Escaped", " b\\\n");
    EXPECT_NE(FileIdentity(file()), before);
}

TEST_F(SettingsManager, DistinguishesTwoFilesOfOneSizeAndTime)
{
    writeFile("[Group]\nKey=1\n");
    const FileIdentity before = identityWithOldTime();
    EXPECT_EQ(readText("Group", "Key"), "1");
    writeFile("[Group]\nKey=2\n");
    ASSERT_EQ(identityWithOldTime(), before);
    EXPECT_EQ(readText("Group", "Key"), "2");
    writeText(file(), "Group", "Other", "3");
    EXPECT_EQ(readText("Group", "Key"), "2");
}

TEST_F(SettingsManager, MakesTheFilePrivateWhateverItWasBefore)
{
    const mode_t mask = umask(0);
    writeText(file(), "Group", "Key", "1");
    EXPECT_EQ(modeOf(file()), 0600U);
    setMode(file(), 0644);
    writeText(file(), "Group", "Key", "2");
    EXPECT_EQ(modeOf(file()), 0600U);
    umask(mask);
}

TEST_F(SettingsManager, RefusesNamesThatCannotBeReadBack)
{
    writeText(file(), "Group", "Key", "1");
    const QByteArray before = readFile();
    const QStringList names = {"",     " x",  "x ", "a]",   "[a",
                               "a\nb", "a=b", "#a", "a\tb", QString(QChar(u'\0'))};
    for (const QString& refused : names) {
        writeText(file(), refused, "Key", "secret");
        writeText(file(), "Group", refused, "secret");
        EXPECT_EQ(readText(refused, "Key"), "(default)");
        SETUP_SET_Manager(file(), false).clearGroup(refused);
    }
    EXPECT_EQ(readFile(), before);
    EXPECT_EQ(warnings.lines().size(), 2 * names.size());
    EXPECT_THAT(warnings.lines().join("").toStdString(), testing::Not(testing::HasSubstr("secret")));
}

TEST_F(SettingsManager, KeepsTheKeysOfManagersAtTheSameTime)
{
    writeFile("[Shared]\nCommon=0\n");
    {
        SETUP_SET_Manager earlier(file(), false);
        SETUP_SET_Manager later(file(), false);
        earlier.setSettingInfo("Shared", "Earlier", 1);
        earlier.setSettingInfo("Shared", "Common", 1);
        later.setSettingInfo("Shared", "Later", 2);
        later.setSettingInfo("Shared", "Common", 2);
    } // The later made is the first destroyed.
    EXPECT_EQ(readText("Shared", "Earlier"), "1");
    EXPECT_EQ(readText("Shared", "Later"), "2");
    EXPECT_EQ(readText("Shared", "Common"), "1");
}

TEST_F(SettingsManager, WritesAGroupWholeThatAnotherManagerCleared)
{
    writeFile("[Shared]\nFirst=1\nSecond=1\n");
    {
        SETUP_SET_Manager writer(file(), false);
        writer.setSettingInfo("Shared", "First", 1);
        writer.setSettingInfo("Shared", "Second", 2);
        SETUP_SET_Manager(file(), false).clearGroup("Shared");
    }
    EXPECT_EQ(readFile(), "[Shared]\nFirst=1\nSecond=2\n");
}

TEST_F(SettingsManager, WritesNothingThatAnotherManagerWroteAlready)
{
    writeFile("[Group]\nKey=1\n");
    auto manager = std::make_unique<SETUP_SET_Manager>(file(), false);
    manager->setSettingInfo("Group", "Key", 2);
    writeText(file(), "Group", "Key", "2");
    const FileIdentity before = identityWithOldTime();
    manager.reset();
    EXPECT_EQ(FileIdentity(file()), before);
}

// Each process writes a group of its own whole, and a key of its own into a shared group, round after round.
// The first goes on after half of its rounds when it can read from the gate.
constexpr int WRITERS = 3;
constexpr int ROUNDS = 40;
constexpr int KEYS = 12;

int writeRounds(const QString& path, int writer, int gate)
{
    const FailureLog log;
    const QString own = QString("Writer%1").arg(writer);
    for (int round = 1; round <= ROUNDS; ++round) {
        SETUP_SET_Manager manager(path, false);
        for (int key = 0; key < KEYS; ++key) {
            manager.setSettingInfo(own, QString("Key%1").arg(key), round);
            manager.setSettingInfo("Together", QString("Key%1").arg(key), round * WRITERS + writer);
        }
        manager.setSettingInfo("Shared", QString("%1Round%2").arg(own).arg(round), true);
        char byte = 0;
        if (writer == 0 && round == ROUNDS / 2 && read(gate, &byte, 1) != 1)
            return 1;
    }
    return log.failures().isEmpty() ? 0 : 1;
}

// Whether all keys of the group hold one number.
bool isWhole(const SETUP_SET_Manager& manager, const QString& group)
{
    int first = 0;
    manager.getSettingInfo(group, "Key0", first, 0);
    for (int key = 1; key < KEYS; ++key) {
        int value = 0;
        manager.getSettingInfo(group, QString("Key%1").arg(key), value, 0);
        if (value != first)
            return false;
    }
    return true;
}

TEST_F(SettingsManager, LosesNoKeyAndTearsNoGroupOfThreeProcesses)
{
    int gate[2];
    ASSERT_EQ(pipe(gate), 0);
    std::vector<pid_t> writers;
    for (int writer = 0; writer < WRITERS; ++writer)
        writers.push_back(startChild([&, writer] {
            close(gate[1]);
            return writeRounds(file(), writer, gate[0]);
        }));

    int reads = 0;
    int last = 0;
    while (last < ROUNDS) {
        const SETUP_SET_Manager manager(file(), false);
        for (const char* group : {"Writer0", "Writer1", "Writer2", "Together"})
            ASSERT_TRUE(isWhole(manager, group)) << group;
        manager.getSettingInfo("Writer0", "Key0", last, 0);
        if (reads++ == 0) {
            ASSERT_EQ(write(gate[1], "", 1), 1);
        }
    }
    for (const pid_t writer : writers)
        ASSERT_EQ(waitForChild(writer), 0);

    EXPECT_GT(reads, 1);
    EXPECT_TRUE(warnings.lines().isEmpty()) << qPrintable(warnings.lines().join("\n"));
    EXPECT_EQ(readFile().count("=true\n"), WRITERS * ROUNDS);
    EXPECT_EQ(entries(), QStringList(FILE_NAME));
}

} // namespace
