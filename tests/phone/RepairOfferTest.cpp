#include "DaemonTest.h"
#include "HomeScreen.h"
#include "OrmuMessageBox.h"
#include "ScreenDriver.h"
#include "SettingsFixture.h"
#include "StrangerAtSocket.h"
#include "UTIL_ListBox.h"

#include <QDir>

#include <memory>
#include <unistd.h>
#include <vector>

using namespace ScreenDriver;

namespace {

// What the store leaves when the first of three profiles is deleted.
const char DOUBLED[] = "[ProfileSummary]\nTotalProfile=2\n"
                       "[Profile1]\nDisplayName=B\n[Profile2]\nDisplayName=C\n";
const char ENDLESS[] = "[ProfileSummary]\nTotalProfile=3\n[Profile1]\nDisplayName=B\n";

// The texts of the boxes that were answered, each followed by those of its keys.
using Told = std::vector<std::string>;

// The phone over a settings file that is out of step. The libraries are the real ones, loaded at run time.
class RepairOffer : public DaemonTest, protected SettingsDirectory
{
protected:
    RepairOffer() { home.show(); }

    static bool profileListIsOpen()
    {
        return OrmuPhoneWindow::instance()->topScreen()->inherits("SETUP_SIP_ProfileListBase");
    }

    // Answers the questions to come by these keys, in turn, and gives what they said.
    Told answer(const std::vector<Qt::Key>& keys, const std::function<void()>& act)
    {
        Told told;
        std::vector<std::unique_ptr<Expected>> expected;
        std::function<void()> expectNext;
        const auto isOpen = [] { return open<OrmuMessageBox>() != nullptr; };
        const auto answerThis = [&] {
            told.push_back(textAndKeys(*open<OrmuMessageBox>()));
            const Qt::Key key = keys[told.size() - 1];
            if (told.size() < keys.size())
                expectNext();
            press(key);
        };
        expectNext = [&] { expected.push_back(std::make_unique<Expected>(isOpen, answerThis)); };
        expectNext();
        act();
        return told;
    }

    static std::string textAndKeys(const OrmuMessageBox& box)
    {
        QStringList texts = {box.text()};
        for (int i = 0; i < 3 && !box.buttonText(i).isEmpty(); ++i)
            texts += box.buttonText(i);
        return texts.join(u'|').toStdString();
    }

    static QStringList rows()
    {
        QStringList rows;
        const auto* list = open<QWidget>()->findChild<UTIL_ListBox*>();
        for (int i = 0; i < list->count(); ++i)
            rows += list->item(i)->text();
        return rows;
    }

    static void openList() { press(Qt::Key_Return); }

    HomeScreen home;
};

const char DOUBLED_TEXT[] = "Something is wrong with the SIP profiles.\n"
                            "“C” (Profile2) is not listed.\n“B” (Profile1) is listed 2 times.\n"
                            "There is Profile1, but no Profile0.|Repair|Open|Back";
const char ENDLESS_TEXT[] = "Something is wrong with the SIP profiles.\n"
                            "The list of profiles never opens: it searches from Profile2 on without end.\n"
                            "There is Profile1, but no Profile0.\n"
                            "The settings file counts 3 profiles and holds 1.|Repair|Back";
const char REPAIRED_TEXT[] =
    "The SIP profiles are repaired. The old file is kept as ormu_sipsetup.cfg.old.|OK";

TEST_F(RepairOffer, RepairsItAndOpensTheListOfEveryProfile)
{
    writeFile(DOUBLED);
    const Told told = answer({Qt::Key_F1, Qt::Key_Return}, openList);
    EXPECT_EQ(told, Told({DOUBLED_TEXT, REPAIRED_TEXT}));
    ASSERT_TRUE(profileListIsOpen());
    EXPECT_EQ(rows(), QStringList({"B", "C"}));
    EXPECT_EQ(readFile(file() + ".old"), DOUBLED);
    press(Qt::Key_F3);
    openList();
    EXPECT_TRUE(profileListIsOpen());
    press(Qt::Key_F3);
}

TEST_F(RepairOffer, OpensTheListAsItIsWhenTheUserWantsIt)
{
    writeFile(DOUBLED);
    EXPECT_EQ(answer({Qt::Key_F2}, openList), Told({DOUBLED_TEXT}));
    ASSERT_TRUE(profileListIsOpen());
    EXPECT_EQ(rows(), QStringList({"B", "B"}));
    EXPECT_EQ(readFile(), DOUBLED);
    press(Qt::Key_F3);
}

TEST_F(RepairOffer, GoesBackHomeByTheRightSoftKey)
{
    writeFile(DOUBLED);
    EXPECT_EQ(answer({Qt::Key_F3}, openList), Told({DOUBLED_TEXT}));
    EXPECT_EQ(open<HomeScreen>(), &home);
    EXPECT_EQ(readFile(), DOUBLED);
}

TEST_F(RepairOffer, NeverOpensAListThatWouldNotEnd)
{
    writeFile(ENDLESS);
    for (const Qt::Key key : {Qt::Key_F2, Qt::Key_F3, Qt::Key_Escape}) {
        SCOPED_TRACE(key);
        const std::vector<Qt::Key> keys =
            key == Qt::Key_F2 ? std::vector<Qt::Key>{Qt::Key_F3} : std::vector<Qt::Key>{key};
        EXPECT_EQ(answer(keys, openList), Told({ENDLESS_TEXT}));
        EXPECT_EQ(open<HomeScreen>(), &home);
    }
    EXPECT_EQ(answer({Qt::Key_Return, Qt::Key_Return}, openList), Told({ENDLESS_TEXT, REPAIRED_TEXT}));
    ASSERT_TRUE(profileListIsOpen());
    EXPECT_EQ(rows(), QStringList("B"));
    press(Qt::Key_F3);
}

TEST_F(RepairOffer, ChecksItBeforeTheChooserToo)
{
    writeFile(ENDLESS);
    press(Qt::Key_Down);
    EXPECT_EQ(answer({Qt::Key_F3}, openList), Told({ENDLESS_TEXT}));
    EXPECT_EQ(open<HomeScreen>(), &home);
}

TEST_F(RepairOffer, DisconnectsAConnectedProfileBeforeTheRepairWhenTheUserAgrees)
{
    writeFile(DOUBLED);
    play("status:1");
    const std::string question =
        "“B” (Profile1) is connected or being connected. Disconnect it for the repair?|OK|Cancel";
    EXPECT_EQ(answer({Qt::Key_F1, Qt::Key_F3, Qt::Key_F3}, openList),
              Told({DOUBLED_TEXT, question, DOUBLED_TEXT}));
    EXPECT_EQ(readFile(), DOUBLED);
    EXPECT_EQ(open<HomeScreen>(), &home);

    const std::string second =
        "“C” (Profile2) is connected or being connected. Disconnect it for the repair?|OK|Cancel";
    EXPECT_EQ(answer({Qt::Key_F1, Qt::Key_F1, Qt::Key_F1, Qt::Key_Return}, openList),
              Told({DOUBLED_TEXT, question, second, REPAIRED_TEXT}));
    std::vector<std::string> disconnected;
    for (const _SIPD_MSG_PROFILE_S& request : daemon().requests()) {
        if (request.request == PROFILE_CTRL_DISCONNECT)
            disconnected.emplace_back(request.name);
    }
    EXPECT_EQ(disconnected, std::vector<std::string>({"Profile1", "Profile2", "Profile1", "Profile2"}))
        << "each once by the user, and once more right before the repair";
    ASSERT_TRUE(profileListIsOpen());
    press(Qt::Key_F3);
}

TEST_F(RepairOffer, IsNotRepairedWhenTheDaemonDoesNotDisconnectOrSay)
{
    writeFile(DOUBLED);
    Scenario stubborn = *findScenario("disconnect-ack:1");
    stubborn.status = 2;
    playScenario(stubborn);
    Told told = answer({Qt::Key_F1, Qt::Key_F1, Qt::Key_Return, Qt::Key_F3}, openList);
    ASSERT_EQ(told.size(), 4U);
    EXPECT_EQ(told[2], "“B” (Profile1) cannot be disconnected.|OK");
    play("refuse");
    told = answer({Qt::Key_F1, Qt::Key_Return, Qt::Key_F3}, openList);
    ASSERT_EQ(told.size(), 3U);
    EXPECT_EQ(told[1], "The SIP daemon does not say whether a profile is connected.|OK");
    EXPECT_EQ(readFile(), DOUBLED);
    EXPECT_EQ(open<HomeScreen>(), &home);
}

TEST_F(RepairOffer, IsNotRepairedWhenTheDaemonDoesNotGiveUpAProfileThatIsNotConnected)
{
    writeFile(DOUBLED);
    play("disconnect-ack:1");
    const Told told = answer({Qt::Key_F1, Qt::Key_Return, Qt::Key_F3}, openList);
    ASSERT_EQ(told.size(), 3U);
    EXPECT_EQ(told[1], "The SIP daemon does not disconnect the profiles for the repair.|OK");
    EXPECT_EQ(readFile(), DOUBLED);
    EXPECT_EQ(open<HomeScreen>(), &home);
}

TEST_F(RepairOffer, DoesNotRepairAFileThatCannotBeRead)
{
    ASSERT_TRUE(QDir().mkpath(file()));
    const WarningLog warnings;
    EXPECT_EQ(answer({Qt::Key_F1}, openList),
              Told({"Something is wrong with the SIP profiles.\n"
                    "The settings file cannot be read (Invalid argument): no profile is listed."
                    "|Open|Back"}));
    EXPECT_TRUE(profileListIsOpen());
    press(Qt::Key_F3);
}

TEST_F(RepairOffer, OpensNoListWhileAnotherUserHasTheDaemonsSocket)
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
            EXPECT_EQ(open<HomeScreen>(), &home);
        }
    }
    press(Qt::Key_Up);
    openList();
    EXPECT_TRUE(profileListIsOpen()) << "once the other has gone";
    press(Qt::Key_F3);
}

} // namespace
