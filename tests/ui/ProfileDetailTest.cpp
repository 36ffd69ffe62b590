#include "OrmuMessageBox.h"
#include "OrmuMultiLineEdit.h"
#include "OrmuPushButton.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileDetail.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "SetupScreensTest.h"
#include "UTIL_CST.h"
#include "qpopupmenu.h"

#include <QCheckBox>
#include <QLabel>
#include <QPointer>
#include <QScrollBar>

#include <optional>
#include <string_view>

using namespace ScreenDriver;

namespace {
enum MenuId { CONNECT = 0, EDIT = 1, DELETE = 2 };
enum Entry { NAME_ENTRY = 0, SERVER_ENTRY = 1, PASSWORD_ENTRY = 4 }; // in the order of the edit screen

const ShownBox RECONNECT_QUESTION("Do you want to re-connect this profile?", "Dialog_Question_Mark.jpg",
                                  {"OK", "Cancel"});

// A daemon for whose status queries every profile is connected, whatever is asked of it.
Scenario connectedFromTheStart(uint32_t disconnectAck = 0, uint32_t connectAck = 0)
{
    Scenario scenario;
    scenario.status = SIPD_PROFILE_CONNECTED;
    scenario.disconnectAck = disconnectAck;
    scenario.connectAck = connectAck;
    return scenario;
}

// The screen of a profile in Profile1, deleted later when it is done, as the list does.
class ProfileDetail : public SetupScreensTest
{
protected:
    ProfileDetail() { store(record("other")); }
    ~ProfileDetail() override { delete detail; }

    void openDetail(const QString& name)
    {
        results.clear();
        detail = new SETUP_SIP_ProfileDetail(name);
        QObject::connect(detail, &SETUP_SIP_ProfileDetail::detailDone, [this](bool changed) {
            results += changed;
            detail->deleteLater();
        });
        detail->show();
        softKeys = static_cast<UTIL_CST*>(detail->getCSTWidget());
        menu = detail->findChild<QPopupMenu*>();
    }
    void openDetail(const SIP_PROFILE_CONTENT& profile)
    {
        store(profile);
        openDetail(profile.displayName);
    }

    QStringList lines() const
    {
        QStringList texts;
        for (const QLabel* label : detail->getContentWidget()->findChildren<QLabel*>())
            texts += label->text();
        return texts;
    }

    // Opens the edit screen, types the text over an entry and saves.
    static void editAndSave(int entry = SERVER_ENTRY, const QString& text = "2")
    {
        chooseInMenu("Edit");
        ASSERT_NE(open<SETUP_SIP_ProfileEdit>(), nullptr);
        for (int i = 0; i < entry; ++i)
            press(Qt::Key_Down);
        press(Qt::Key_A, Qt::ControlModifier);
        type(text);
        press(Qt::Key_F2);
    }

    bool isGone() const
    {
        return waitFor([this] { return detail == nullptr; });
    }

    QPointer<SETUP_SIP_ProfileDetail> detail;
    QList<bool> results;
    UTIL_CST* softKeys = nullptr;
    QPopupMenu* menu = nullptr;
};

TEST_F(ProfileDetail, ShowsTheProfileLineByLine)
{
    SIP_PROFILE_CONTENT profile = record("Work & <b>home</b>");
    profile.server = "sip.example.org";
    profile.portNum = 4294967295U;
    profile.network = "office";
    openDetail(profile);
    EXPECT_EQ(lines(), QStringList({"Profile name:Work & <b>home</b>", "Server address:", "sip.example.org",
                                    "Port:4294967295", "User Name:me", "Password:**********",
                                    "Internet Profile:office", "Connect:Auto connect when power on"}));
    int y = 0;
    for (const QLabel* label : detail->getContentWidget()->findChildren<QLabel*>()) {
        EXPECT_EQ(label->geometry(), QRect(0, y, 220, 30));
        EXPECT_EQ(label->textFormat(), Qt::PlainText);
        y += 30;
    }
    EXPECT_EQ(detail->objectName(), "");
    keepPicture("detail");
}

TEST_F(ProfileDetail, TakesTheParentAndTheNameItIsGiven)
{
    QWidget parent;
    const SETUP_SIP_ProfileDetail child("other", &parent, "detail");
    EXPECT_EQ(child.parentWidget(), &parent);
    EXPECT_EQ(child.objectName(), "detail");
}

TEST_F(ProfileDetail, HasNoConnectLineWithoutAutoConnect)
{
    SIP_PROFILE_CONTENT profile = record("A");
    profile.autoConnect = false;
    openDetail(profile);
    EXPECT_EQ(lines().size(), 7);
    EXPECT_EQ(lines().last(), "Internet Profile:internet");
}

TEST_F(ProfileDetail, ShowsTenAsterisksForEveryPassword)
{
    for (const char* password : {"", "x", "a much longer password than that"}) {
        SIP_PROFILE_CONTENT profile = record("A");
        profile.password = password;
        openDetail(profile);
        EXPECT_EQ(lines()[5], "Password:**********");
        delete detail;
    }
}

TEST_F(ProfileDetail, OfAnUnknownNameShowsAFreshProfileAndAsksNobody)
{
    play("status:2");
    openDetail("nobody");
    EXPECT_EQ(lines()[0], "Profile name:nobody");
    EXPECT_EQ(lines()[3], "Port:5060");
    EXPECT_EQ(daemon().accepted(), 0);
}

TEST_F(ProfileDetail, HasMenuSetAsDefaultAndBackOnItsSoftKeys)
{
    openDetail(record("A"));
    EXPECT_EQ(softKeys->getLeftBtn()->resourceID(), "CST_Menu");
    EXPECT_EQ(softKeys->getMidBtn()->text(), "Set as default");
    EXPECT_TRUE(softKeys->getMidBtn()->isEnabled());
    EXPECT_EQ(softKeys->getRightBtn()->resourceID(), "CST_Back");
}

TEST_F(ProfileDetail, OffersConnectWhenNotConnectedAndDisconnectWhenConnected)
{
    play("status:1");
    openDetail(record("A"));
    press(Qt::Key_F1);
    ASSERT_EQ(open<QPopupMenu>(), menu);
    EXPECT_EQ(menu->actions().size(), 3);
    EXPECT_EQ(menu->text(CONNECT), "Connect");
    EXPECT_EQ(menu->text(EDIT), "Edit");
    EXPECT_EQ(menu->text(DELETE), "Delete Profile");
    QStringList order;
    for (const QAction* entry : menu->actions())
        order += entry->data().toString();
    EXPECT_EQ(order, QStringList({"0", "1", "2"}));
    keepPicture("detail-menu");
    press(Qt::Key_F3);
    ASSERT_EQ(daemon().requests().size(), 1u);
    EXPECT_STREQ(daemon().requests()[0].name, "Profile1");
    delete detail;

    play("status:2");
    openDetail("A");
    EXPECT_EQ(menu->text(CONNECT), "Disconnect");
    EXPECT_TRUE(daemon().waitForClosed(1)) << "the question was asked and the connection closed";
}

TEST_F(ProfileDetail, OpensItsMenuByPointerToo)
{
    openDetail(record("A"));
    click(softKeys->getLeftBtn());
    EXPECT_EQ(open<QPopupMenu>(), menu);
    press(Qt::Key_Escape);
}

TEST_F(ProfileDetail, BackEndsItWithFalse)
{
    openDetail(record("A"));
    press(Qt::Key_F3);
    EXPECT_EQ(results, QList<bool>({false}));
    EXPECT_TRUE(isGone());
    openDetail("A");
    click(softKeys->getRightBtn());
    EXPECT_EQ(results, QList<bool>({false}));
    EXPECT_TRUE(isGone());
}

TEST_F(ProfileDetail, DoesNotDeleteItself)
{
    store(record("A"));
    SETUP_SIP_ProfileDetail kept("A");
    kept.show();
    press(Qt::Key_F3);
    EXPECT_TRUE(kept.isVisible());
}

TEST_F(ProfileDetail, OpensTheDefaultProfileWithSetAsDefaultDisabled)
{
    store(record("A"));
    SETUP_SIP_Agent::instance()->setDefaultProfile("A");
    openDetail("A");
    EXPECT_FALSE(softKeys->getMidBtn()->isEnabled());
    press(Qt::Key_F2);
    press(Qt::Key_F3);
    EXPECT_EQ(results, QList<bool>({false}));
}

TEST_F(ProfileDetail, SetAsDefaultStaysOpenAndMakesBackTellAChange)
{
    store(record("A"));
    SETUP_SIP_Agent::instance()->setDefaultProfile("other");
    openDetail("A");
    press(Qt::Key_F2);
    EXPECT_TRUE(SETUP_SIP_Agent::instance()->isProfileDefault("A"));
    EXPECT_FALSE(SETUP_SIP_Agent::instance()->isProfileDefault("other"));
    EXPECT_FALSE(softKeys->getMidBtn()->isEnabled());
    EXPECT_EQ(results, QList<bool>());
    keepPicture("detail-default");
    press(Qt::Key_Escape);
    EXPECT_EQ(results, QList<bool>({true}));
}

TEST_F(ProfileDetail, SetAsDefaultWorksByPointer)
{
    openDetail(record("A"));
    click(softKeys->getMidBtn());
    EXPECT_TRUE(SETUP_SIP_Agent::instance()->isProfileDefault("A"));
}

TEST_F(ProfileDetail, DeletesTheProfileOnOkAndEndsWithTrue)
{
    openDetail(record("A"));
    BoxAnswers answers({Qt::Key_F1});
    answers.keepPicture("detail-delete-");
    chooseInMenu("Delete Profile");
    EXPECT_EQ(answers.boxes(), QList<ShownBox>({DELETE_QUESTION}));
    EXPECT_FALSE(SETUP_SIP_Agent::instance()->isProfileExisted("A"));
    EXPECT_EQ(results, QList<bool>({true}));
    EXPECT_TRUE(isGone());
}

TEST_F(ProfileDetail, DeletesNothingOnCancel)
{
    openDetail(record("A"));
    const BoxAnswers answers({Qt::Key_F3});
    chooseInMenu("Delete Profile");
    EXPECT_EQ(answers.boxes(), QList<ShownBox>({DELETE_QUESTION}));
    EXPECT_TRUE(SETUP_SIP_Agent::instance()->isProfileExisted("A"));
    EXPECT_EQ(results, QList<bool>());
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
}

TEST_F(ProfileDetail, DeletesAConnectedProfileWithoutDisconnectingIt)
{
    play("status:2");
    openDetail(record("A"));
    const BoxAnswers answers({Qt::Key_F1});
    chooseInMenu("Delete Profile");
    EXPECT_EQ(results, QList<bool>({true}));
    EXPECT_EQ(daemon().requests().size(), 1u) << "the status query alone";
}

TEST_F(ProfileDetail, EditingADisconnectedProfileEndsItWithTrue)
{
    play("status:0");
    openDetail(record("A"));
    editAndSave();
    EXPECT_EQ(results, QList<bool>({true}));
    EXPECT_EQ(open<OrmuMessageBox>(), nullptr);
    EXPECT_TRUE(isGone());
}

TEST_F(ProfileDetail, DeletesTheEditScreenBeforeItAsksOrTells)
{
    for (const char* scenario : {"status:0", "status:2"}) {
        play(scenario);
        openDetail(record("A"));
        chooseInMenu("Edit");
        const QPointer<SETUP_SIP_ProfileEdit> edit = open<SETUP_SIP_ProfileEdit>();
        QList<bool> wasThere;
        const auto look = [&] { wasThere += !edit.isNull(); };
        QObject::connect(detail, &SETUP_SIP_ProfileDetail::detailDone, look);
        {
            std::optional<Expected> asked;
            if (std::string_view(scenario) == "status:2")
                asked.emplace([] { return open<OrmuMessageBox>() != nullptr; },
                              [look] {
                                  look();
                                  press(Qt::Key_F3);
                              });
            press(Qt::Key_F2);
        }
        EXPECT_EQ(wasThere, QList<bool>({false})) << scenario;
        delete detail;
    }
}

TEST_F(ProfileDetail, AnEditThatIsNotSavedEndsItWithFalse)
{
    for (const char* scenario : {"status:0", "status:2"}) {
        play(scenario);
        openDetail(record("A"));
        press(Qt::Key_F2); // the default is changed, and yet it tells no change
        chooseInMenu("Edit");
        press(Qt::Key_F3);
        EXPECT_EQ(results, QList<bool>({false})) << scenario;
        EXPECT_TRUE(isGone());
    }
}

TEST_F(ProfileDetail, AsksWhetherToReconnectAfterAConnectedProfileIsEdited)
{
    play("status:2");
    openDetail(record("A"));
    BoxAnswers answers({Qt::Key_F3});
    answers.keepPicture("detail-reconnect-");
    editAndSave();
    EXPECT_EQ(answers.boxes(), QList<ShownBox>({RECONNECT_QUESTION}));
    EXPECT_EQ(results, QList<bool>());
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    EXPECT_EQ(lines()[2], "A.example.org") << "the lines are those of its opening";
    EXPECT_EQ(menu->text(CONNECT), "Disconnect");
    press(Qt::Key_F3);
    EXPECT_EQ(results, QList<bool>({false})) << "an edit is no change of the default";
}

TEST_F(ProfileDetail, TellsAChangeAfterAnEditOnlyWhenTheDefaultWasChangedToo)
{
    play("status:2");
    openDetail(record("A"));
    const BoxAnswers answers({Qt::Key_F3});
    editAndSave();
    press(Qt::Key_F2);
    press(Qt::Key_F3);
    EXPECT_EQ(results, QList<bool>({true}));
}

TEST_F(ProfileDetail, AQuestionThatEndsInAnotherWayIsACancel)
{
    play("status:2");
    openDetail(record("A"));
    const auto hide = [] { return onceOpen<OrmuMessageBox>([](OrmuMessageBox& box) { box.hide(); }); };
    {
        const auto hidden = hide();
        chooseInMenu("Delete Profile");
    }
    {
        const auto hidden = hide();
        chooseInMenu("Disconnect");
    }
    {
        const auto hidden = hide();
        editAndSave();
    }
    EXPECT_TRUE(SETUP_SIP_Agent::instance()->isProfileExisted("A"));
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    EXPECT_EQ(daemon().requests().size(), 1u);
}

TEST_F(ProfileDetail, ReconnectsAfterAnEditAndThenTakesTheProfileForDisconnected)
{
    playScenario(connectedFromTheStart());
    openDetail(record("A"));
    {
        const BoxAnswers answers({Qt::Key_F1});
        editAndSave();
    }
    ASSERT_NE(open<SETUP_SIP_ConnectDlg>(), nullptr);
    EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->labelText(), "Reconnecting...");
    EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->parentWidget(), detail);
    const BoxAnswers answers({Qt::Key_F2});
    finishConnecting();
    EXPECT_EQ(answers.boxes(), QList<ShownBox>({CONNECTED}));
    EXPECT_EQ(menu->text(CONNECT), "Connect") << "every success inverts it";
    EXPECT_EQ(results, QList<bool>());
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
}

// What the screen does after a rename goes by the former name, which is no profile's any more.
TEST_F(ProfileDetail, ReconnectsByTheNameOfItsOpeningAfterARename)
{
    playScenario(connectedFromTheStart());
    openDetail(record("A"));
    const BoxAnswers answers({Qt::Key_F1, Qt::Key_F2});
    editAndSave(NAME_ENTRY, "B");
    finishConnecting();
    EXPECT_EQ(answers.boxes(), QList<ShownBox>({RECONNECT_QUESTION, CONNECTED}));
    ASSERT_EQ(daemon().requests().size(), 3u);
    EXPECT_STREQ(daemon().requests()[1].name, "A") << "a name that no profile has is taken for a group's";
    EXPECT_STREQ(daemon().requests()[2].name, "A");
}

TEST_F(ProfileDetail, SetsNoDefaultAfterARenameAndStillTellsAChange)
{
    play("status:2");
    store(record("A"));
    SETUP_SIP_Agent::instance()->setDefaultProfile("other");
    openDetail("A");
    const BoxAnswers answers({Qt::Key_F3});
    editAndSave(NAME_ENTRY, "B");
    press(Qt::Key_F2);
    EXPECT_TRUE(SETUP_SIP_Agent::instance()->isProfileDefault("other"));
    EXPECT_FALSE(SETUP_SIP_Agent::instance()->isProfileDefault("B"));
    EXPECT_FALSE(softKeys->getMidBtn()->isEnabled());
    press(Qt::Key_F3);
    EXPECT_EQ(results, QList<bool>({true}));
}

TEST_F(ProfileDetail, DeletesNothingAfterARenameAndStillTellsAChange)
{
    play("status:2");
    openDetail(record("A"));
    const BoxAnswers answers({Qt::Key_F3, Qt::Key_F1});
    editAndSave(NAME_ENTRY, "B");
    chooseInMenu("Delete Profile");
    EXPECT_EQ(answers.boxes(), QList<ShownBox>({RECONNECT_QUESTION, DELETE_QUESTION}));
    EXPECT_TRUE(SETUP_SIP_Agent::instance()->isProfileExisted("B"));
    EXPECT_TRUE(SETUP_SIP_Agent::instance()->isProfileExisted("other"));
    EXPECT_EQ(results, QList<bool>({true}));
}

TEST_F(ProfileDetail, KeepsTheProfileConnectedWhenEitherHalfOfAReconnectFails)
{
    struct Half
    {
        uint32_t disconnectAck;
        uint32_t connectAck;
        ShownBox notice;
    };
    for (const Half& half :
         {Half{1, 0, FAILED}, Half{2, 0, UNAVAILABLE}, Half{3, 0, INCORRECT}, Half{4, 0, FAILED},
          Half{0, 1, FAILED}, Half{0, 2, UNAVAILABLE}, Half{0, 3, INCORRECT}, Half{0, 4, FAILED}}) {
        playScenario(connectedFromTheStart(half.disconnectAck, half.connectAck));
        openDetail(record("A"));
        {
            const BoxAnswers answers({Qt::Key_F1});
            editAndSave();
        }
        const BoxAnswers answers({Qt::Key_F2});
        finishConnecting();
        EXPECT_EQ(answers.boxes(), QList<ShownBox>({half.notice}));
        EXPECT_EQ(menu->text(CONNECT), "Disconnect");
        EXPECT_EQ(results, QList<bool>());
        delete detail;
    }
}

TEST_F(ProfileDetail, OpensOneEditScreenAtATime)
{
    openDetail(record("A"));
    QMetaObject::invokeMethod(detail, "menuItemActivated", Q_ARG(int, EDIT));
    const QPointer<SETUP_SIP_ProfileEdit> edit = open<SETUP_SIP_ProfileEdit>();
    ASSERT_NE(edit, nullptr);
    EXPECT_NE(edit->parentWidget(), detail);
    QMetaObject::invokeMethod(detail, "menuItemActivated", Q_ARG(int, EDIT));
    EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), edit);
    press(Qt::Key_F3);
    EXPECT_EQ(edit, nullptr);
    EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), nullptr);
}

TEST_F(ProfileDetail, ConnectsAProfileThatNeedsNoCredentialsAtOnce)
{
    play("admit");
    openDetail(record("A"));
    chooseInMenu("Connect");
    ASSERT_NE(open<SETUP_SIP_ConnectDlg>(), nullptr);
    EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->labelText(), "Connecting...");
    EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->parentWidget(), detail);
    EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->objectName(), "");
    keepPicture("detail-connecting");
    const BoxAnswers answers({Qt::Key_F2});
    finishConnecting();
    EXPECT_EQ(answers.boxes(), QList<ShownBox>({CONNECTED}));
    EXPECT_EQ(menu->text(CONNECT), "Disconnect");
    press(Qt::Key_F3);
    EXPECT_EQ(results, QList<bool>({false})) << "connecting is no change of the profiles";
}

TEST_F(ProfileDetail, TellsEachOutcomeOfAConnectAndInvertsOnSuccessAlone)
{
    const QList<std::pair<const char*, ShownBox>> outcomes = {{"ack:0", CONNECTED},
                                                              {"ack:1", FAILED},
                                                              {"ack:2", UNAVAILABLE},
                                                              {"ack:3", INCORRECT},
                                                              {"ack:4", FAILED}};
    for (const auto& [scenario, notice] : outcomes) {
        play(scenario);
        openDetail(record("A"));
        chooseInMenu("Connect");
        const BoxAnswers answers({Qt::Key_F2});
        finishConnecting();
        EXPECT_EQ(answers.boxes(), QList<ShownBox>({notice})) << scenario;
        EXPECT_EQ(menu->text(CONNECT), notice == CONNECTED ? "Disconnect" : "Connect") << scenario;
        delete detail;
    }
}

TEST_F(ProfileDetail, TellsEachOutcomeOfADisconnect)
{
    const QList<ShownBox> notices = {DISCONNECTED, FAILED, UNAVAILABLE, INCORRECT, FAILED};
    for (uint32_t ack = 0; ack < 5; ++ack) {
        playScenario(connectedFromTheStart(ack));
        openDetail(record("A"));
        {
            const BoxAnswers answers({Qt::Key_F1});
            chooseInMenu("Disconnect");
            EXPECT_EQ(answers.boxes(), QList<ShownBox>({DISCONNECT_QUESTION}));
        }
        EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->labelText(), "Disconnecting...");
        const BoxAnswers answers({Qt::Key_F2});
        finishConnecting();
        EXPECT_EQ(answers.boxes(), QList<ShownBox>({notices[ack]})) << ack;
        EXPECT_EQ(menu->text(CONNECT), ack == 0 ? "Connect" : "Disconnect") << ack;
        delete detail;
    }
}

TEST_F(ProfileDetail, DisconnectsNothingOnCancel)
{
    play("status:2");
    openDetail(record("A"));
    const BoxAnswers answers({Qt::Key_F3});
    chooseInMenu("Disconnect");
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    EXPECT_EQ(daemon().requests().size(), 1u);
}

TEST_F(ProfileDetail, GoesBackAndForthBetweenConnectAndDisconnect)
{
    play("admit");
    openDetail(record("A"));
    chooseInMenu("Connect");
    {
        const BoxAnswers answers({Qt::Key_F2});
        finishConnecting();
    }
    {
        const BoxAnswers answers({Qt::Key_F1});
        chooseInMenu("Disconnect");
    }
    {
        const BoxAnswers answers({Qt::Key_F2});
        finishConnecting();
        EXPECT_EQ(answers.boxes(), QList<ShownBox>({DISCONNECTED}));
    }
    EXPECT_EQ(menu->text(CONNECT), "Connect");
}

TEST_F(ProfileDetail, AsksForCredentialsWithWhatWasTypedLast)
{
    play("admit");
    SETUP_SIP_Agent::saveLastInputUserIDPassword("you", "typed", true);
    openDetail(guardedRecord("A"));
    chooseInMenu("Connect");
    auto* prompt = open<SETUP_SIP_UserIDAndPasswordDlg>();
    ASSERT_NE(prompt, nullptr);
    EXPECT_NE(prompt->parentWidget(), detail);
    const auto entries = prompt->findChildren<OrmuMultiLineEdit*>();
    EXPECT_EQ(entries[0]->text(), "you");
    EXPECT_EQ(entries[1]->text(), "typed");
    EXPECT_EQ(daemon().requests().size(), 1u) << "nothing is asked before the answer";
    fillPrompt("me", "secret");
    press(Qt::Key_F2);
    const BoxAnswers answers({Qt::Key_F2});
    finishConnecting();
    EXPECT_EQ(answers.boxes(), QList<ShownBox>({CONNECTED}));
    EXPECT_EQ(menu->text(CONNECT), "Disconnect");
}

TEST_F(ProfileDetail, DeletesThePromptBeforeItOpensTheConnectDialog)
{
    play("late:60000");
    openDetail(guardedRecord("A"));
    chooseInMenu("Connect");
    const QPointer<SETUP_SIP_UserIDAndPasswordDlg> prompt = open<SETUP_SIP_UserIDAndPasswordDlg>();
    fillPrompt("me", "secret");
    QList<bool> wasThere;
    const OnceConnectDlgShows look([&] { wasThere += prompt != nullptr; });
    press(Qt::Key_F2);
    EXPECT_EQ(wasThere, QList<bool>({false}));
}

TEST_F(ProfileDetail, OpensThePromptWithRememberTickedAsItWasLast)
{
    openDetail(guardedRecord("A"));
    for (const bool remember : {true, false}) {
        SETUP_SIP_Agent::saveLastInputUserIDPassword("me", "", remember);
        chooseInMenu("Connect");
        auto* prompt = open<SETUP_SIP_UserIDAndPasswordDlg>();
        ASSERT_NE(prompt, nullptr);
        EXPECT_EQ(prompt->findChild<QCheckBox*>()->isChecked(), remember);
        press(Qt::Key_F3);
    }
}

TEST_F(ProfileDetail, ComparesCredentialsWithTheProfileOfItsOpeningAfterAnEdit)
{
    playScenario(connectedFromTheStart());
    openDetail(guardedRecord("A"));
    {
        const BoxAnswers answers({Qt::Key_F3});
        editAndSave(PASSWORD_ENTRY, "changed");
        EXPECT_EQ(answers.boxes(), QList<ShownBox>({RECONNECT_QUESTION}));
    }
    {
        const BoxAnswers answers({Qt::Key_F1, Qt::Key_F2});
        chooseInMenu("Disconnect");
        finishConnecting();
    }
    chooseInMenu("Connect");
    fillPrompt("me", "secret");
    const BoxAnswers answers({Qt::Key_F3}); // which ends any message;
    press(Qt::Key_F2);
    finishConnecting();
    EXPECT_EQ(answers.boxes(), QList<ShownBox>({CONNECTED}));
}

TEST_F(ProfileDetail, EndsTheAttemptSilentlyWhenThePromptIsCancelled)
{
    play("admit");
    openDetail(guardedRecord("A"));
    chooseInMenu("Connect");
    press(Qt::Key_F3);
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    chooseInMenu("Connect");
    fillPrompt("me", "wrong");
    const BoxAnswers answers({Qt::Key_F3});
    press(Qt::Key_F2);
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    EXPECT_EQ(menu->text(CONNECT), "Connect");
    EXPECT_EQ(daemon().requests().size(), 1u);
}

TEST_F(ProfileDetail, StaysAsItWasWhenTheConnectIsCancelled)
{
    play("late:60000");
    openDetail(record("A"));
    chooseInMenu("Connect");
    press(Qt::Key_F3);
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    EXPECT_EQ(menu->text(CONNECT), "Connect");
}

TEST_F(ProfileDetail, StaysConnectedWhenTheDisconnectOrReconnectIsCancelled)
{
    Scenario scenario = connectedFromTheStart();
    scenario.ackDelay = std::chrono::minutes(1);
    playScenario(scenario);
    openDetail(record("A"));
    for (const bool reconnect : {false, true}) {
        {
            const BoxAnswers answers({Qt::Key_F1});
            if (reconnect)
                editAndSave();
            else
                chooseInMenu("Disconnect");
        }
        ASSERT_NE(open<SETUP_SIP_ConnectDlg>(), nullptr);
        press(Qt::Key_F3);
        EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
        EXPECT_EQ(menu->text(CONNECT), "Disconnect");
        EXPECT_EQ(results, QList<bool>());
    }
}

TEST_F(ProfileDetail, IsDoneByPointerToo)
{
    openDetail(record("A"));
    click(softKeys->getLeftBtn());
    const auto answered =
        onceOpen<OrmuMessageBox>([](OrmuMessageBox& box) { click(box.findChild<OrmuPushButton*>("left")); });
    clickMenuEntry("Delete Profile");
    EXPECT_EQ(results, QList<bool>({true}));
    EXPECT_TRUE(isGone());
}

TEST_F(ProfileDetail, ShowsItsLastLineWithoutScrolling)
{
    openDetail(record("A"));
    EXPECT_EQ(detail->getContentWidget()->verticalScrollBar()->maximum(), 0);
    const QLabel* last = detail->getContentWidget()->findChildren<QLabel*>().last();
    EXPECT_EQ(last->visibleRegion(), QRegion(last->rect()));
}

TEST_F(ProfileDetail, MayBeDeletedByTheHostWhileAQuestionIsOpen)
{
    for (const char* entry : {"Delete Profile", "Disconnect"}) {
        for (const Qt::Key key : {Qt::Key_F1, Qt::Key_F3}) {
            play("status:2");
            openDetail(record("A"));
            const auto deleted = onceOpen<OrmuMessageBox>([this, key](OrmuMessageBox&) {
                delete detail;
                press(key);
            });
            chooseInMenu(entry);
            EXPECT_TRUE(SETUP_SIP_Agent::instance()->isProfileExisted("A"));
            EXPECT_EQ(daemon().requests().size(), 1u);
        }
    }
}

TEST_F(ProfileDetail, MayBeDeletedByTheHostWhileItAsksWhetherToReconnect)
{
    play("status:2");
    openDetail(record("A"));
    const auto deleted = onceOpen<OrmuMessageBox>([this](OrmuMessageBox&) {
        delete detail;
        press(Qt::Key_F1);
    });
    editAndSave();
    EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), nullptr);
}

using ProfileDetailDeath = ProfileDetail;

TEST_F(ProfileDetailDeath, AbortsOnAnUnknownMenuIdAndReportsLine144)
{
    openDetail(record("A"));
    for (const int id : {-1, 3, 1000})
        EXPECT_EXIT(QMetaObject::invokeMethod(detail, "menuItemActivated", Q_ARG(int, id)),
                    testing::KilledBySignal(SIGABRT),
                    "[{]1[}] SETUP_SIP_ProfileDetail[.]cpp:144\tormu assert failed !\n\n");
}

TEST_F(ProfileDetailDeath, AbortsWhenTheDaemonIsGoneBetweenThePromptAndTheConnect)
{
    play("admit");
    openDetail(guardedRecord("A"));
    chooseInMenu("Connect");
    fillPrompt("me", "secret");
    stopDaemon();
    EXPECT_EXIT(press(Qt::Key_F2), testing::KilledBySignal(SIGABRT),
                "[{]1[}] SIP_COMM_Controler[.]cpp:[0-9]+\tormu assert failed !\n\n");
    press(Qt::Key_F3);
}

} // namespace
