// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The check and the repair of files that people broke by hand, and on disks that fail.
#include "BoundedListing.h"
#include "ProfileFile.h"
#include "ProfileRepair.h"
#include "SETUP_SIP_Agent.h"
#include "SettingsFile.h"
#include "SettingsFixture.h"
#include "SystemCallFault.h"

#include <QDir>
#include <QFile>
#include <QMap>

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <ostream>
#include <random>
#include <thread>
#include <unistd.h>

namespace {

struct Broken
{
    const char* name;
    QByteArray bytes;
    QStringList found;                  // the texts of the findings
    QStringList listed;                 // the names that the store lists after the repair
    QByteArray repaired = QByteArray(); // the whole file, or "" where the test does not compare it
};

// The files that a tidy leaves alone, and the description of their repair.
const QMap<QByteArray, QStringList> DAMAGED = {
    {"NamesDoubledOverAndOver", {"Renamed, since its name was taken: “A (3)”, “A (4)”."}},
    {"NamesMissing", {"Given a name: “anna@example.com”, “anna (2)” and 2 more."}},
    {"NameInLatin1", {"Given a name: “Büro”."}},
    {"GroupsOfOneNumber", {"Listed again: “A”, “C”."}},
    {"GroupsOfOneNumberAfterAByteOrderMark", {"Listed again: “A”."}},
    {"LineOfRubbish", {"A line that cannot be read is set aside."}},
    {"NotesInBrackets", {"3 lines that cannot be read are set aside."}},
    {"KeysBeforeTheFirstGroup", {"A line that cannot be read is set aside."}},
    {"HeadersHalfWritten", {"3 lines that cannot be read are set aside."}},
    {"HeadersWithANote", {"4 lines that cannot be read are set aside."}},
    {"HeaderBeyondRepair", {"A line that cannot be read is set aside."}},
    {"ZeroBytes", {"A line that cannot be read is set aside."}},
    {"KeyThatAFirstGroupMustNotHold", {"A line that cannot be read is set aside."}},
    {"RandomBytes", {"4 lines that cannot be read are set aside."}},
};

void PrintTo(const Broken& broken, std::ostream* out)
{
    *out << broken.name;
}

const char ONE[] = "[Profile0]\nDisplayName=A\n";

const Broken FILES[] = {
    {"CountMissing",
     ONE,
     {"“A” (Profile0) is not listed.", "The settings file counts 0 profiles and holds 1."},
     {"A"},
     "[Profile0]\nDisplayName=A\n\n[ProfileSummary]\nTotalProfile=1\n"},
    {"CountNoNumber",
     QByteArray("[ProfileSummary]\nTotalProfile=one\n") + ONE,
     {"“A” (Profile0) is not listed.", "The settings file counts 0 profiles and holds 1."},
     {"A"}},
    {"CountNegative",
     QByteArray("[ProfileSummary]\nTotalProfile=-1\n") + ONE,
     {"“A” (Profile0) is not listed.", "The settings file counts -1 profiles and holds 1."},
     {"A"}},
    {"CountOfNothing",
     "[ProfileSummary]\nTotalProfile=2\n",
     {"The list of profiles never opens: it searches from Profile0 on without end.",
      "The settings file counts 2 profiles and holds 0."},
     {}},
    {"CountHuge",
     QByteArray("[ProfileSummary]\nTotalProfile=2147483647\n") + ONE,
     {"The list of profiles never opens: it searches from Profile1 on without end.",
      "The settings file counts 2147483647 profiles and holds 1."},
     {"A"}},
    {"NumberHuge",
     "[ProfileSummary]\nTotalProfile=2\n[Profile4000000000]\nDisplayName=A\n"
     "[Profile99999999999999999999999999]\nDisplayName=B\n",
     {"The list of profiles never opens: it searches from Profile0 on without end.",
      "There is Profile4000000000, but no Profile0.",
      "There is Profile99999999999999999999999999, but no Profile4000000001."},
     {"A", "B"}},
    {"GapsAndTheirDefault",
     "# of mine\n[ProfileSummary]\nTotalProfile=3\n[SystemDefault]\nProfile=Profile10\n"
     "[Profile10]\n# the last\nDisplayName=C\nDefaultProfile=true\nUnknown=kept\n"
     "[Profile2]\nDisplayName=A\n[Other]\nProfile2=untouched\n[Profile9]\nDisplayName=B\n",
     {"“B” (Profile9) is not listed.", "“C” (Profile10) is not listed.", "“A” (Profile2) is listed 3 times.",
      "There is Profile2, but no Profile0.", "There is Profile9, but no Profile3."},
     {"A", "B", "C"},
     "# of mine\n\n[ProfileSummary]\nTotalProfile=3\n\n[SystemDefault]\nProfile=Profile2\n\n"
     "[Profile2]\n# the last\nDisplayName=C\nDefaultProfile=true\nUnknown=kept\n\n"
     "[Profile0]\nDisplayName=A\n\n[Other]\nProfile2=untouched\n\n[Profile1]\nDisplayName=B\n"},
    {"NamesDoubledOverAndOver",
     "[ProfileSummary]\nTotalProfile=4\n[Profile0]\nDisplayName=A\n[Profile1]\nDisplayName=A\n"
     "[Profile2]\nDisplayName=A (2)\n[Profile3]\nDisplayName=A\n",
     {"“A” (Profile1) has the name of Profile0 and cannot be reached.",
      "“A” (Profile3) has the name of Profile0 and cannot be reached."},
     {"A", "A (3)", "A (2)", "A (4)"}},
    {"NamesMissing",
     "[ProfileSummary]\nTotalProfile=5\n[Profile0]\nDisplayName=\nUserID=anna\nServer=example.com\n"
     "[Profile1]\nUserID=anna\n[Profile2]\nServer=example.com\n[Profile3]\nPassword=secret\n"
     "[Profile4]\nDisplayName=anna\n",
     {"“anna” (Profile4) is listed 5 times.", "Profile0 has no name and is not listed.",
      "Profile1 has no name and is not listed.", "Profile2 has no name and is not listed.",
      "Profile3 has no name and is not listed."},
     {"anna@example.com", "anna (2)", "example.com", "Profile3", "anna"}},
    {"NameInLatin1",
     "[ProfileSummary]\nTotalProfile=1\n[Profile0]\nDisplayName=B\xfcro\n",
     {"The list of profiles never opens: it searches from Profile0 on without end.",
      "Profile0 has no name and is not listed."},
     {"Büro"}},
    {"SwitchesAlone",
     "[ProfileSummary]\nTotalProfile=1\n[Profile0]\n# of the first\nDefaultProfile=false\n"
     "# of the second\n[Profile1]\nDisplayName=B\n[SystemDefault]\nProfile=Profile0\n",
     {"There is Profile1, but no Profile0.",
      "Profile0 is named as the default, but no profile is marked as it."},
     {"B"},
     "[ProfileSummary]\nTotalProfile=1\n\n# of the first\n# of the second\n\n[Profile0]\nDisplayName=B\n\n"
     "[SystemDefault]\nProfile=true\n"},
    {"DefaultThatIsNoProfile",
     "[ProfileSummary]\nTotalProfile=1\n[Profile1]\nDisplayName=B\n[SystemDefault]\nProfile=Profile7\n",
     {"There is Profile1, but no Profile0.",
      "Profile7 is named as the default, but no profile is marked as it."},
     {"B"},
     "[ProfileSummary]\nTotalProfile=1\n\n[Profile0]\nDisplayName=B\n\n[SystemDefault]\nProfile=true\n"},
    {"DefaultThatIsNotNamed",
     "[ProfileSummary]\nTotalProfile=2\n[Profile0]\nDisplayName=A\n[Profile1]\nDisplayName=B\n"
     "DefaultProfile=true\n[SystemDefault]\nProfile=true\n",
     {"“B” (Profile1) is marked as the default, but the settings file does not name it."},
     {"A", "B"},
     "[ProfileSummary]\nTotalProfile=2\n\n[Profile0]\nDisplayName=A\n\n[Profile1]\nDisplayName=B\n"
     "DefaultProfile=true\n\n[SystemDefault]\nProfile=Profile1\n"},
    {"DefaultThatIsNamedButNotMarked",
     "[ProfileSummary]\nTotalProfile=1\n[Profile0]\nDisplayName=A\nDefaultProfile=false\n[SystemDefault]\n"
     "Profile=Profile0\n",
     {"“A” (Profile0) is named as the default, but no profile is marked as it."},
     {"A"},
     "[ProfileSummary]\nTotalProfile=1\n\n[Profile0]\nDisplayName=A\nDefaultProfile=false\n\n"
     "[SystemDefault]\nProfile=true\n"},
    {"DefaultThatIsNamedAndHasNoMark",
     "[ProfileSummary]\nTotalProfile=1\n[Profile0]\nDisplayName=A\n[SystemDefault]\nProfile=Profile0\n",
     {"“A” (Profile0) is named as the default, but no profile is marked as it."},
     {"A"},
     "[ProfileSummary]\nTotalProfile=1\n\n[Profile0]\nDisplayName=A\nDefaultProfile=true\n\n"
     "[SystemDefault]\nProfile=Profile0\n"},
    {"DefaultsOfWhichOneIsNamed",
     "[ProfileSummary]\nTotalProfile=2\n[Profile0]\nDisplayName=A\nDefaultProfile=true\n"
     "[Profile1]\nDisplayName=B\nDefaultProfile=1\n[SystemDefault]\nProfile=Profile1\n",
     {"More than one profile is the default: “A” (Profile0), “B” (Profile1)."},
     {"A", "B"},
     "[ProfileSummary]\nTotalProfile=2\n\n[Profile0]\nDisplayName=A\nDefaultProfile=false\n\n"
     "[Profile1]\nDisplayName=B\nDefaultProfile=1\n\n[SystemDefault]\nProfile=Profile1\n"},
    {"DefaultsOfWhichNoneIsNamed",
     "[ProfileSummary]\nTotalProfile=3\n[Profile0]\nDisplayName=A\nDefaultProfile=true\n"
     "[Profile1]\nDisplayName=B\nDefaultProfile=true\n[Profile3]\nDisplayName=C\n"
     "[SystemDefault]\nProfile=Profile3\n",
     {"There is Profile3, but no Profile2.",
      "More than one profile is the default: “A” (Profile0), “B” (Profile1)."},
     {"A", "B", "C"},
     "[ProfileSummary]\nTotalProfile=3\n\n[Profile0]\nDisplayName=A\nDefaultProfile=false\n\n"
     "[Profile1]\nDisplayName=B\nDefaultProfile=false\n\n[Profile2]\nDisplayName=C\nDefaultProfile=true\n\n"
     "[SystemDefault]\nProfile=Profile2\n"},
    {"DefaultsWhenNoProfileIsNamed",
     "[ProfileSummary]\nTotalProfile=2\n[Profile0]\nDisplayName=A\nDefaultProfile=true\n"
     "[Profile1]\nDisplayName=B\nDefaultProfile=true\n[SystemDefault]\nProfile=true\n",
     {"More than one profile is the default: “A” (Profile0), “B” (Profile1)."},
     {"A", "B"},
     "[ProfileSummary]\nTotalProfile=2\n\n[Profile0]\nDisplayName=A\nDefaultProfile=true\n\n"
     "[Profile1]\nDisplayName=B\nDefaultProfile=false\n\n[SystemDefault]\nProfile=Profile0\n"},
    {"GroupsOfOneNumber",
     "[ProfileSummary]\nTotalProfile=3\n[Profile0]\nDisplayName=A\nUserID=a\n[Profile1]\nDisplayName=B\n"
     "[Profile0]\nUserID=b\n DisplayName = C\n[Other]\nDisplayName=X\n[Profile0]\nDisplayName=D\n[Profile2]\n"
     "DisplayName=E\n[Other]\nDisplayName=Y\n[SystemDefault]\nProfile=Profile0\n",
     {"“A” (Profile0) is not listed: there is another Profile0 below.",
      "“C” (Profile0) is not listed: there is another Profile0 below.",
      "“D” (Profile0) is named as the default, but no profile is marked as it."},
     {"D", "B", "E", "A", "C"},
     "[ProfileSummary]\nTotalProfile=5\n\n[Profile3]\nDisplayName=A\nUserID=a\n\n[Profile1]\nDisplayName="
     "B\n\n"
     "[Profile4]\nUserID=b\nDisplayName=C\n\n[Other]\nDisplayName=X\nDisplayName=Y\n\n[Profile0]"
     "\nDisplayName=D\nDefaultProfile=true\n\n"
     "[Profile2]\nDisplayName=E\n\n[SystemDefault]\nProfile=Profile0\n"},
    {"GroupsOfOneNumberAfterAByteOrderMark",
     "\xEF\xBB\xBF[Profile0]\nDisplayName=A\nServer=a\n[Profile0]\nDisplayName=B\n[ProfileSummary]\n"
     "TotalProfile=2\n",
     {"The list of profiles never opens: it searches from Profile1 on without end.",
      "“A” (Profile0) is not listed: there is another Profile0 below.",
      "The settings file counts 2 profiles and holds 1."},
     {"B", "A"},
     "[Profile1]\nDisplayName=A\nServer=a\n\n[Profile0]\nDisplayName=B\n\n[ProfileSummary]\n"
     "TotalProfile=2\n"},
    {"GroupInTwoPieces",
     "[ProfileSummary]\nTotalProfile=1\n[Profile0]\nDisplayName=A\n[Other]\n[Profile0]\nUserID=a\n",
     {},
     {"A"}},
    {"NumbersWithZeros",
     "[ProfileSummary]\nTotalProfile=1\n[Profile00]\nDisplayName=X\n[Profile0]\nDisplayName=A\n"
     "[Profile]\nDisplayName=Y\n[Profile-1]\nDisplayName=Z\n[profile1]\nDisplayName=W\n[Profile1 "
     "]\nDisplayName=V\n",
     {},
     {"A"}},
    {"LineOfRubbish",
     QByteArray("[ProfileSummary]\nTotalProfile=1\n") + ONE + "oops\r\n  \nServer=s\n",
     {"“A” (Profile0) is not listed.",
      "Line 5 of the settings file cannot be read: the whole file counts as empty."},
     {"A"},
     "[ProfileSummary]\nTotalProfile=1\n\n[Profile0]\nDisplayName=A\n# oops\n  \nServer=s\n"},
    {"NotesInBrackets",
     "[ProfileSummary]\nTotalProfile=1\n[Profile0]\nDisplayName=A\nmy note [old]\nServer=s\n"
     "[mine\nPassword=p\n[the Profile1\nUserID=u\n",
     {"“A” (Profile0) is not listed.",
      "Line 5 and 2 more of the settings file cannot be read: the whole file counts as empty."},
     {"A"},
     "[ProfileSummary]\nTotalProfile=1\n\n[Profile0]\nDisplayName=A\n# my note [old]\nServer=s\n"
     "# [mine\nPassword=p\n# [the Profile1\nUserID=u\n"},
    {"KeysBeforeTheFirstGroup",
     QByteArray("A=b\n\n[ProfileSummary]\nTotalProfile=1\n") + ONE,
     {"“A” (Profile0) is not listed.",
      "Line 1 of the settings file cannot be read: the whole file counts as empty."},
     {"A"}},
    {"HeadersHalfWritten",
     "[ProfileSummary]\nTotalProfile=3\n[Profile0\nDisplayName=A\nProfile1]\nDisplayName=B\n"
     "[[Profile2]\nDisplayName=C\n",
     {"“A” (Profile0) is not listed.", "“B” (Profile1) is not listed.", "“C” (Profile2) is not listed.",
      "Line 3 and 2 more of the settings file cannot be read: the whole file counts as empty."},
     {"A", "B", "C"}},
    {"HeadersWithANote",
     "[SystemDefault] # of "
     "mine\nProfile=Profile1\n[ProfileSummary\nTotalProfile=2\nInputSettings]\nUserID=u\n"
     "[Profile0]\nDisplayName=A\n[Profile1] # hers\nDisplayName=B\n",
     {"“A” (Profile0) is not listed.", "“B” (Profile1) is not listed.",
      "Line 1 and 3 more of the settings file cannot be read: the whole file counts as empty.",
      "“B” (Profile1) is named as the default, but no profile is marked as it."},
     {"A", "B"},
     "[SystemDefault]\nProfile=Profile1\n\n[ProfileSummary]\nTotalProfile=2\n\n[InputSettings]\nUserID=u\n\n"
     "[Profile0]\nDisplayName=A\n\n[Profile1]\nDisplayName=B\nDefaultProfile=true\n"},
    {"HeaderBeyondRepair",
     QByteArray("[ProfileSummary]\nTotalProfile=1\n") + ONE + "[\x01]\nDisplayName=B\n",
     {"“A” (Profile0) is not listed.",
      "Line 5 of the settings file cannot be read: the whole file counts as empty."},
     {"A"}},
    {"ZeroBytes",
     QByteArray("[ProfileSummary]\nTotalProfile=1\n") + ONE + QByteArray(20, '\0'),
     {"“A” (Profile0) is not listed.",
      "Line 5 of the settings file cannot be read: the whole file counts as empty."},
     {"A"}},
    {"KeyThatAFirstGroupMustNotHold",
     "[Profile1]\nLocked=false\n[Profile7]\nDisplayName=A\nEncoding=latin1\n[ProfileSummary]\nTotalProfile="
     "1\n",
     {"There is Profile7, but no Profile0."},
     {"A"},
     "\n[Profile0]\nDisplayName=A\n# Encoding=latin1\n\n[ProfileSummary]\nTotalProfile=1\n"},
    {"RandomBytes",
     QByteArray::fromHex("00ff17d8a2c35b5d0a3d0d0a80fe0a5b"),
     {"Line 1 and 3 more of the settings file cannot be read: the whole file counts as empty."},
     {}},
};

class BrokenFile : public SettingsInMemoryTest, public testing::WithParamInterface<Broken>
{
protected:
    ~BrokenFile() override { SETUP_SIP_Agent::cleanup(); }
};

TEST_P(BrokenFile, ListsEveryProfileOnceRepaired)
{
    const WarningLog warnings;
    writeFile(GetParam().bytes);
    QStringList found;
    const ProfileFile checked(file());
    for (const ProfileFile::Finding& finding : checked.findings())
        found += finding.text;
    EXPECT_EQ(found.join('\n').toStdString(), GetParam().found.join('\n').toStdString());

    const ProfileRepair repair = repairProfileFile(file());
    EXPECT_EQ(repair.outcome, found.isEmpty() ? ProfileRepair::NothingToDo : ProfileRepair::Repaired);
    if (!found.isEmpty()) {
        EXPECT_EQ(readFile(repair.copy), GetParam().bytes);
    }
    EXPECT_TRUE(ProfileFile(file()).findings().isEmpty());
    EXPECT_EQ(repairProfileFile(file()).outcome, ProfileRepair::NothingToDo);
    if (!GetParam().repaired.isEmpty()) {
        // Older releases of GLib insert a line above a group.
        EXPECT_EQ(readFile().replace("\n\n[", "\n[").toStdString(),
                  QByteArray(GetParam().repaired).replace("\n\n[", "\n[").toStdString());
    }

    ASSERT_TRUE(boundedListing(file())) << "the store's loading would not end";
    QStringList listed;
    for (const QString& name : std::as_const(SETUP_SIP_Agent::instance()->displayNames))
        listed += name;
    EXPECT_EQ(listed.join('\n').toStdString(), GetParam().listed.join('\n').toStdString());
}

TEST_P(BrokenFile, IsTidiedUnlessDamaged)
{
    const WarningLog warnings;
    writeFile(GetParam().bytes);
    const ProfileRepair tidied = tidyProfileFile(file());
    EXPECT_EQ(tidied.copy, "");
    EXPECT_EQ(entries(), QStringList("ormu_sipsetup.cfg"));
    const QByteArray now = readFile();
    const auto damage = DAMAGED.find(GetParam().name);
    if (damage != DAMAGED.end()) {
        EXPECT_EQ(tidied.outcome, ProfileRepair::Damaged);
        EXPECT_EQ(now, GetParam().bytes);
        EXPECT_EQ(describeRepair(file()).join('\n').toStdString(), damage->join('\n').toStdString());
        return;
    }
    EXPECT_EQ(tidied.outcome,
              GetParam().found.isEmpty() ? ProfileRepair::NothingToDo : ProfileRepair::Repaired);
    EXPECT_EQ(describeRepair(file()), QStringList());
    EXPECT_EQ(tidyProfileFile(file()).outcome, ProfileRepair::NothingToDo);
    writeFile(GetParam().bytes);
    repairProfileFile(file());
    EXPECT_EQ(now, readFile()) << "what the repair makes of it";
}

INSTANTIATE_TEST_SUITE_P(Each, BrokenFile, testing::ValuesIn(FILES),
                         [](const auto& broken) { return std::string(broken.param.name); });

// A good file is cut at each byte, and loses each byte.
TEST(BrokenFiles, WithALostByteAreWholeOnceRepaired)
{
    const QByteArray good = "[ProfileSummary]\nTotalProfile=2\n\n[Profile0]\nDisplayName=A\nPassword=x\n\n"
                            "[Profile1]\nDisplayName=B\n\n[SystemDefault]\nProfile=Profile1\n";
    const SettingsDirectory settings(SettingsDirectory::InMemory);
    int repaired = 0;
    for (qsizetype i = 0; i < 2 * good.size(); ++i) {
        QByteArray bytes = good;
        if (i < good.size())
            bytes.truncate(i);
        else
            bytes.remove(i - good.size(), 1);
        SCOPED_TRACE(bytes.toStdString());
        settings.writeFile(bytes);
        const qsizetype profiles = ProfileFile(settings.file()).profiles().size();
        const ProfileRepair repair = repairProfileFile(settings.file());
        ASSERT_NE(repair.outcome, ProfileRepair::Failed);
        repaired += repair.outcome == ProfileRepair::Repaired;
        const auto listed = boundedListing(settings.file());
        ASSERT_TRUE(listed);
        ASSERT_EQ(listed->size(), profiles);
    }
    EXPECT_GT(repaired, good.size() / 2);
}

constexpr int FILES_OF_PIECES = 3000;

// A tidy either repairs the file, or leaves it and describes its damage.
void verifyTidying(const SettingsDirectory& settings, const QByteArray& bytes)
{
    const ProfileRepair tidied = tidyProfileFile(settings.file());
    const ProfileFile after(settings.file());
    if (tidied.outcome == ProfileRepair::Repaired)
        ASSERT_TRUE(after.findings().isEmpty());
    else
        ASSERT_EQ(settings.readFile(), bytes);
    ASSERT_EQ(tidied.outcome == ProfileRepair::Damaged, !after.findings().isEmpty());
    ASSERT_EQ(tidied.outcome == ProfileRepair::Damaged, !describeRepair(settings.file()).isEmpty());
    ASSERT_EQ(settings.entries().size(), 1);
    settings.writeFile(bytes);
}

TEST(BrokenFiles, OfRandomPiecesAreWholeOnceRepaired)
{
    // Separated by "|".
    QList<QByteArray> pieces =
        QByteArray(
            "[ProfileSummary]\n|TotalProfile=|2\n|-1\n|99999999999\n|[Profile0]\n|[Profile1]\n|[Profile2]|"
            "[Profile7]\r\n|[Profile18446744073709551616]\n|[|]\n|[]\n|[Profile|\n|DisplayName=|"
            "DisplayName=A\n|DisplayName=A (2)\n|DisplayName = \xff\n|DisplayName\n|DisplayName[de]=B\n|"
            "DefaultProfile=true\n|Locked=false\n|Server=s\n|UserID=\\u0000\n|[SystemDefault]\n|"
            "Profile=Profile1\n|Profile=true\n|# note\n| # "
            "[Profile0]\n|=\n|Encoding=latin1\n|\xEF\xBB\xBF|A|\x01")
            .split('|');
    pieces += QByteArray(1, '\0');
    std::mt19937 random(20);
    const SettingsDirectory settings(SettingsDirectory::InMemory);
    int repaired = 0;
    for (int i = 0; i < FILES_OF_PIECES; ++i) {
        QByteArray bytes;
        for (auto count = random() % 25; count > 0; --count)
            bytes += pieces[static_cast<qsizetype>(random() % static_cast<size_t>(pieces.size()))];
        SCOPED_TRACE(bytes.toHex().toStdString() + '\n' + bytes.toStdString());
        settings.writeFile(bytes);
        const WarningLog warnings;
        const bool isGood = ProfileFile(settings.file()).findings().isEmpty();
        verifyTidying(settings, bytes);
        const ProfileRepair repair = repairProfileFile(settings.file());
        ASSERT_EQ(repair.outcome, isGood ? ProfileRepair::NothingToDo : ProfileRepair::Repaired);
        repaired += !isGood;
        const ProfileFile after(settings.file());
        ASSERT_TRUE(after.findings().isEmpty());
        const auto listed = boundedListing(settings.file(), 30);
        ASSERT_TRUE(listed);
        ASSERT_EQ(listed->size(), after.profiles().size());
        for (const QString& name : settings.entries())
            QFile::remove(settings.directory() + "/" + name);
    }
    EXPECT_GT(repaired, FILES_OF_PIECES / 2);
}

class Repair : public SettingsInMemoryTest
{
protected:
    const QByteArray broken_ = "[ProfileSummary]\nTotalProfile=1\n[Profile1]\nDisplayName=B\n";
};

TEST_F(Repair, ChangesNoGoodOrMissingFile)
{
    EXPECT_EQ(repairProfileFile(file()).outcome, ProfileRepair::NothingToDo);
    EXPECT_TRUE(entries().isEmpty());
    writeFile("[ProfileSummary]\nTotalProfile = 1\n[Profile0]\nDisplayName=A\n");
    const FileIdentity before(file());
    EXPECT_EQ(repairProfileFile(file()).outcome, ProfileRepair::NothingToDo);
    EXPECT_EQ(FileIdentity(file()), before);
}

TEST_F(Repair, KeepsACopyOfEachOldFile)
{
    for (const char* copy : {".old", ".old.1", ".old.2"}) {
        const QByteArray bytes = broken_ + "Server=" + copy + '\n';
        writeFile(bytes);
        ASSERT_EQ(chmod(QFile::encodeName(file()).constData(), 0644), 0);
        const ProfileRepair repair = repairProfileFile(file());
        EXPECT_EQ(repair.copy, file() + copy);
        EXPECT_EQ(readFile(repair.copy), bytes);
        EXPECT_EQ(FileIdentity(repair.copy).mode & 07777, 0600u);
        EXPECT_EQ(FileIdentity(file()).mode & 07777, 0600u);
    }
    ASSERT_EQ(entries().size(), 4);
}

TEST_F(Repair, LeavesTheOldFileOnAFullDisk)
{
    const WarningLog warnings;
    writeFile(broken_);
    {
        const SystemCallFault fault(SystemCall::Write, ENOSPC);
        const ProfileRepair repair = repairProfileFile(file());
        ASSERT_GT(fault.fired(), 0);
        EXPECT_EQ(repair.outcome, ProfileRepair::Failed);
        EXPECT_EQ(repair.error, "No copy of the settings file can be kept (no room on the disk).");
    }
    EXPECT_EQ(readFile(), broken_);
    EXPECT_EQ(entries(), QStringList("ormu_sipsetup.cfg"));
    {
        const SystemCallFault fault(SystemCall::Rename, EIO, 1);
        const ProfileRepair repair = repairProfileFile(file());
        ASSERT_GT(fault.fired(), 0);
        EXPECT_EQ(repair.outcome, ProfileRepair::Failed);
        EXPECT_EQ(repair.error, "The settings file cannot be written (input/output error).");
    }
    EXPECT_EQ(readFile(), broken_);
    EXPECT_EQ(readFile(file() + ".old"), broken_);
}

TEST_F(Repair, ChangesNothingWhenATidyFails)
{
    const WarningLog warnings;
    writeFile(broken_);
    {
        const SystemCallFault fault(SystemCall::Write, ENOSPC);
        const ProfileRepair tidied = tidyProfileFile(file());
        EXPECT_EQ(tidied.outcome, ProfileRepair::Failed);
        EXPECT_EQ(tidied.error, "The settings file cannot be written (no room on the disk).");
        ASSERT_GT(fault.fired(), 0);
    }
    {
        const SystemCallFault fault(SystemCall::Read, EIO);
        const ProfileRepair tidied = tidyProfileFile(file());
        EXPECT_EQ(tidied.outcome, ProfileRepair::Unread);
        EXPECT_EQ(tidied.error, "The settings file cannot be read (input/output error).");
        ASSERT_GT(fault.fired(), 0);
    }
    EXPECT_EQ(readFile(), broken_);
    EXPECT_EQ(entries(), QStringList("ormu_sipsetup.cfg"));
}

TEST_F(Repair, FailsForADirectory)
{
    ASSERT_TRUE(QDir().mkpath(file() + "/inside"));
    const ProfileFile checked(file());
    EXPECT_TRUE(checked.has(ProfileFile::Finding::CannotRead));
    EXPECT_EQ(repairProfileFile(file()).outcome, ProfileRepair::Unread);
    EXPECT_EQ(repairProfileFile(file()).error, "The settings file cannot be read (it is no file).");
    EXPECT_TRUE(QDir(file() + "/inside").exists());
}

TEST_F(Repair, WritesNothingUnderAnOpenLockFile)
{
    const WarningLog warnings;
    writeFile(broken_);
    const QString lockFile = directory() + "/" + LOCK_FILE;
    writeFile(lockFile, "");
    ASSERT_EQ(chmod(QFile::encodeName(lockFile).constData(), 0644), 0);
    for (const ProfileRepair& repair : {tidyProfileFile(file()), repairProfileFile(file())}) {
        EXPECT_EQ(repair.outcome, ProfileRepair::Failed);
        EXPECT_EQ(repair.error,
                  "The settings file cannot be written (the file .lock is not for this user alone).");
    }
    EXPECT_EQ(readFile(), broken_);
    EXPECT_EQ(entries(), QStringList("ormu_sipsetup.cfg"));
}

TEST_F(Repair, WaitsForAnotherWriter)
{
    writeFile(broken_);
    auto writer = std::make_unique<SettingsLock>(QFile::encodeName(file()).toStdString());
    resetCallCounts();
    std::atomic<bool> done = false;
    std::thread repairing([&] {
        repairProfileFile(file());
        done = true;
    });
    while (callCount(SystemCall::Lock) == 0 && !done)
        std::this_thread::yield();
    EXPECT_FALSE(done);
    // The repair includes the other writer's changes.
    writeFile(broken_ + "[Profile3]\nDisplayName=C\n");
    writer.reset();
    repairing.join();
    EXPECT_EQ(ProfileFile(file()).profiles().size(), 2);
    EXPECT_TRUE(ProfileFile(file()).findings().isEmpty());
}

} // namespace
