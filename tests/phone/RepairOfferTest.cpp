// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "PhoneFixture.h"
#include "StrangerAtSocket.h"
#include "SystemCallFault.h"

#include <QDir>
#include <QScrollBar>
#include <QTextEdit>

#include <cerrno>
#include <unistd.h>

using namespace ScreenDriver;

namespace {

// The store leaves this file when the first of three profiles is deleted.
const char DOUBLED[] = "[ProfileSummary]\nTotalProfile=2\n"
                       "[Profile1]\nDisplayName=B\n[Profile2]\nDisplayName=C\n";
const char ENDLESS[] = "[ProfileSummary]\nTotalProfile=3\n[Profile1]\nDisplayName=B\n";
const char DAMAGED[] = "[ProfileSummary]\nTotalProfile=2\n[Profile0]\nServer=sip.example.com\nUserID=anna\n"
                       "[Profile1]\nDisplayName=B\noops\n";

// The phone over a settings file that is not in order.
class RepairOffer : public PhoneTest
{
protected:
    bool hasCopies() const { return !entries().filter(QStringLiteral("ormu_sipsetup.cfg.")).isEmpty(); }

    // As ./run makes them.
    QStringList writeSamples()
    {
        const QStringList names = {"Home", "Office", "Reception desk",
                                   "Conference room on the second floor, east wing", "Дача у моря"};
        QByteArray bytes = "[ProfileSummary]\nTotalProfile=5\n[SystemDefault]\nProfile=Profile0\n";
        for (int i = 0; i < names.size(); ++i)
            bytes += "[Profile" + QByteArray::number(i) + "]\nDisplayName=" + names[i].toUtf8() +
                     "\nUserID=" + QByteArray::number(i) + "\nDefaultProfile=" + (i == 0 ? "true" : "false") +
                     '\n';
        writeFile(bytes);
        return names;
    }
};

const char DAMAGED_TEXT[] = "The SIP profiles are damaged. A repair does this:\n"
                            "– A line that cannot be read is set aside.\n"
                            "– Given a name: “anna@sip.example.com”.\n"
                            "The old file is kept.|Repair|Back";
const char REPAIRED_TEXT[] =
    "The SIP profiles are repaired. The old file is kept as ormu_sipsetup.cfg.old.|OK";

TEST_F(RepairOffer, IsNotMadeForWrongNumbersAlone)
{
    for (const auto& [bytes, names] :
         {std::pair(DOUBLED, QStringList({"B", "C"})), std::pair(ENDLESS, QStringList("B"))}) {
        writeFile(bytes);
        openList();
        ASSERT_TRUE(listIsOpen());
        EXPECT_EQ(rows(), names);
        EXPECT_FALSE(hasCopies());
        closeList();
    }
}

TEST_F(RepairOffer, IsNotNeededWhenTheListHasClosed)
{
    writeSamples();
    openList();
    deleteRows({0, 2});
    EXPECT_TRUE(readFile().contains("[Profile4]"));
    closeList();
    EXPECT_FALSE(readFile().contains("[Profile3]"));
    EXPECT_TRUE(readFile().contains("TotalProfile=3"));
    EXPECT_FALSE(hasCopies());
}

TEST_F(RepairOffer, IsNotMadeAfterDeletions)
{
    for (int row = 0; row < 5; ++row) {
        SCOPED_TRACE(row);
        QStringList names = writeSamples();
        openList();
        deleteRows({row});
        names.removeAt(row);
        EXPECT_EQ(rows(), names);
        ASSERT_NO_FATAL_FAILURE(reopenList());
        EXPECT_EQ(rows(), names);
        // A profile that is listed twice would have to be deleted twice.
        while (!names.isEmpty()) {
            deleteRows({0});
            names.removeFirst();
            ASSERT_NO_FATAL_FAILURE(reopenList());
            EXPECT_EQ(rows(), names);
        }
        closeList();
        EXPECT_FALSE(hasCopies());
    }
}

TEST_F(RepairOffer, RepairsDamageAndOpensTheList)
{
    writeFile(DAMAGED);
    const Told told = answer({Qt::Key_F1, Qt::Key_Return}, openList);
    EXPECT_EQ(told, Told({DAMAGED_TEXT, REPAIRED_TEXT}));
    ASSERT_TRUE(listIsOpen());
    EXPECT_EQ(rows(), QStringList({"anna@sip.example.com", "B"}));
    EXPECT_EQ(readFile(file() + ".old"), DAMAGED);
    EXPECT_EQ(FileIdentity(file() + ".old").mode & 07777, 0600u);
    ASSERT_NO_FATAL_FAILURE(reopenList());
    closeList();
}

TEST_F(RepairOffer, OpensNoListAfterBack)
{
    writeFile(DAMAGED);
    for (const Qt::Key key : {Qt::Key_F3, Qt::Key_Escape}) {
        SCOPED_TRACE(key);
        EXPECT_EQ(answer({key}, openList), Told({DAMAGED_TEXT}));
        EXPECT_TRUE(isHome());
    }
    press(Qt::Key_Down);
    EXPECT_EQ(answer({Qt::Key_F3}, openList), Told({DAMAGED_TEXT})) << "before the chooser";
    EXPECT_TRUE(isHome());
    EXPECT_EQ(readFile(), DAMAGED);
    EXPECT_FALSE(hasCopies());
}

TEST_F(RepairOffer, FitsOnTheScreen)
{
    QByteArray bytes = "oops\noops\n[ProfileSummary]\nTotalProfile=2\n";
    for (const char* number : {"0", "1", "2", "0", "1", "2"}) {
        for (const char* user :
             {"", "UserID=somebody-with-a-long-name\n", "DisplayName=Another long name of one\n"})
            bytes += QByteArray("[Profile") + number + "]\nDisplayName=\nServer=s\n" + user;
        bytes += QByteArray("[Profile1") + number + "]\nServer=the-server-with-the-longest-name\n";
    }
    writeFile(bytes);
    bool fits = false;
    const auto look = onceOpen<OrmuMessageBox>([&fits](OrmuMessageBox& box) {
        fits = box.findChild<QTextEdit*>()->verticalScrollBar()->maximum() == 0;
        keepPicture("longest-question");
        press(Qt::Key_F3);
    });
    openList();
    EXPECT_TRUE(fits);
}

TEST_F(RepairOffer, OpensNoWrongListOnAFullDisk)
{
    const WarningLog warnings;
    for (const char* bytes : {DOUBLED, ENDLESS}) {
        writeFile(bytes);
        Told told;
        {
            const SystemCallFault noRoom(SystemCall::Write, ENOSPC);
            told = answer({Qt::Key_Return}, openList);
        }
        EXPECT_EQ(told, Told({"The SIP profiles cannot be put in order. The settings file cannot be written "
                              "(no room on the disk).|OK"}));
        EXPECT_TRUE(isHome());
        EXPECT_EQ(readFile(), bytes);
        EXPECT_FALSE(hasCopies());
    }
    writeFile(DAMAGED);
    Told told;
    {
        const SystemCallFault noRoom(SystemCall::Write, ENOSPC);
        told = answer({Qt::Key_F1, Qt::Key_Return}, openList);
    }
    EXPECT_EQ(told, Told({DAMAGED_TEXT, "The SIP profiles are not repaired. No copy of the settings file can "
                                        "be kept (no room on the disk).|OK"}));
    EXPECT_TRUE(isHome());
    EXPECT_EQ(readFile(), DAMAGED);
}

TEST_F(RepairOffer, OpensAListInOrderOnAFullDisk)
{
    const QStringList names = writeSamples();
    const SystemCallFault noRoom(SystemCall::Write, ENOSPC);
    openList();
    ASSERT_TRUE(listIsOpen());
    EXPECT_EQ(rows(), names);
    closeList();
}

TEST_F(RepairOffer, IsNotMadeForWrongNumbersBeforeTheChooser)
{
    writeFile(ENDLESS);
    press(Qt::Key_Down);
    choose({Qt::Key_F3});
    EXPECT_TRUE(isHome());
    EXPECT_TRUE(readFile().contains("TotalProfile=1"));
}

TEST_F(RepairOffer, KeepsTheChoiceWhenNumbersChange)
{
    writeSamples();
    press(Qt::Key_Down);
    answer({Qt::Key_Return}, [] {
        EXPECT_EQ(choose({Qt::Key_Down, Qt::Key_Down, Qt::Key_Return, Qt::Key_F1}), "");
    });
    press(Qt::Key_Up);
    openList();
    deleteRows({0});
    closeList();
    press(Qt::Key_Down);
    answer({Qt::Key_Return}, [] { EXPECT_EQ(choose({Qt::Key_F1}), "Reception desk"); });
}

TEST_F(RepairOffer, IsNotMadeForADirectory)
{
    ASSERT_TRUE(QDir().mkpath(file()));
    const WarningLog warnings;
    openList();
    EXPECT_TRUE(listIsOpen());
    closeList();
    EXPECT_TRUE(QDir(file()).exists());
    EXPECT_FALSE(hasCopies());
}

TEST_F(RepairOffer, OpensNoListOnAnotherUsersSocket)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    const std::string refusal = "The SIP daemon on /tmp/sipd_us belongs to another user: nobody.|OK";
    for (const auto part : {StrangerAtSocket::Both, StrangerAtSocket::File, StrangerAtSocket::Process}) {
        SCOPED_TRACE(part);
        const StrangerAtSocket stranger(part);
        for (const Qt::Key entry : {Qt::Key_Up, Qt::Key_Down}) {
            press(entry);
            EXPECT_EQ(answer({Qt::Key_Return}, openList), Told({refusal}));
            EXPECT_TRUE(isHome());
        }
    }
    press(Qt::Key_Up);
    openList();
    EXPECT_TRUE(listIsOpen()) << "the other has gone";
    press(Qt::Key_F3);
}

} // namespace
