#include "OrmuMessageBox.h"
#include "OrmuMultiLineEdit.h"
#include "OrmuPushButton.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileDetail.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "ScreenTest.h"
#include "UTIL_CST.h"
#include "qpopupmenu.h"

#include <QCheckBox>
#include <QLabel>
#include <QPointer>
#include <QScrollBar>

#include <optional>
#include <string_view>

namespace {
// The screen of a profile in Profile1. It is deleted later when it is done, as the list does.
class ProfileDetail : public ScreenTest
{
protected:
    enum MenuId { CONNECT = 0, EDIT = 1, DELETE = 2 };
    enum Entry { NAME_ENTRY = 0, SERVER_ENTRY = 1, PASSWORD_ENTRY = 4 }; // in the order of the edit screen

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

    // Opens the connect dialog by an entry of the menu, and answers the question before it.
    static void begin(const QString& entry)
    {
        const BoxAnswers answers(entry == "Connect" ? std::initializer_list<Qt::Key>{}
                                                    : std::initializer_list<Qt::Key>{Qt::Key_F1});
        if (entry == "Edit")
            editAndSave();
        else
            chooseInMenu(entry);
        ASSERT_NE(open<SETUP_SIP_ConnectDlg>(), nullptr);
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
    keepPicture("detail");
    delete detail;

    profile = record("A");
    profile.autoConnect = false;
    profile.password = "";
    openDetail(profile);
    EXPECT_EQ(lines().size(), 7);
    EXPECT_EQ(lines()[5], "Password:**********");
    EXPECT_EQ(lines().last(), "Internet Profile:internet");
}

TEST_F(ProfileDetail, ShowsDefaultsForAnUnknownNameWithoutAQuery)
{
    play("status:2");
    openDetail("nobody");
    EXPECT_EQ(lines()[0], "Profile name:nobody");
    EXPECT_EQ(lines()[3], "Port:5060");
    EXPECT_EQ(daemon().accepted(), 0);
}

TEST_F(ProfileDetail, OffersConnectOrDisconnectByTheDaemonsStatus)
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

TEST_F(ProfileDetail, ReportsFalseOnBack)
{
    store(record("A"));
    for (const SoftKey key : RIGHT_KEYS) {
        openDetail("A");
        press(key);
        EXPECT_EQ(results, QList<bool>({false}));
        EXPECT_TRUE(isGone());
    }
}

TEST_F(ProfileDetail, DoesNotDeleteItself)
{
    store(record("A"));
    SETUP_SIP_ProfileDetail kept("A");
    kept.show();
    press(Qt::Key_F3);
    EXPECT_TRUE(kept.isVisible());
}

TEST_F(ProfileDetail, DisablesSetAsDefaultForTheDefaultProfile)
{
    store(record("A"));
    profiles()->setDefaultProfile("A");
    openDetail("A");
    EXPECT_FALSE(softKeys->getMidBtn()->isEnabled());
    press(Qt::Key_F2);
    press(Qt::Key_F3);
    EXPECT_EQ(results, QList<bool>({false}));
}

TEST_F(ProfileDetail, ReportsAChangeOnBackAfterSetAsDefault)
{
    store(record("A"));
    profiles()->setDefaultProfile("other");
    openDetail("A");
    press(Qt::Key_F2);
    EXPECT_TRUE(isDefault("A"));
    EXPECT_FALSE(isDefault("other"));
    EXPECT_FALSE(softKeys->getMidBtn()->isEnabled());
    EXPECT_EQ(results, QList<bool>());
    keepPicture("detail-default");
    press(Qt::Key_Escape);
    EXPECT_EQ(results, QList<bool>({true}));
}

TEST_F(ProfileDetail, DeletesTheProfileOnOkAndReportsTrue)
{
    openDetail(record("A"));
    BoxAnswers answers({Qt::Key_F1});
    answers.keepPicture("detail-delete-");
    chooseInMenu("Delete Profile");
    EXPECT_EQ(answers.boxes(), QList<ShownBox>({DELETE_QUESTION}));
    EXPECT_FALSE(exists("A"));
    EXPECT_EQ(results, QList<bool>({true}));
    EXPECT_TRUE(isGone());
}

TEST_F(ProfileDetail, DeletesAndDisconnectsNothingOnCancel)
{
    play("status:2");
    openDetail(record("A"));
    const BoxAnswers answers({Qt::Key_F3, Qt::Key_F3});
    chooseInMenu("Delete Profile");
    chooseInMenu("Disconnect");
    EXPECT_EQ(answers.boxes(), QList({DELETE_QUESTION, DISCONNECT_QUESTION}));
    EXPECT_TRUE(exists("A"));
    EXPECT_EQ(results, QList<bool>());
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    EXPECT_EQ(requests().size(), 1);
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

TEST_F(ProfileDetail, ReportsTrueAfterAnEditOfADisconnectedProfile)
{
    play("status:0");
    openDetail(record("A"));
    editAndSave();
    EXPECT_EQ(results, QList<bool>({true}));
    EXPECT_EQ(open<OrmuMessageBox>(), nullptr);
    EXPECT_TRUE(isGone());
}

TEST_F(ProfileDetail, DeletesTheEditScreenBeforeItAsksOrReports)
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
            std::optional<ScreenDriver::Expected> asked;
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

TEST_F(ProfileDetail, ReportsFalseAfterAnEditThatIsNotSaved)
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

TEST_F(ProfileDetail, AsksForAReconnectAfterAnEditOfAConnectedProfile)
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

TEST_F(ProfileDetail, ReportsTrueAfterAnEditIfTheDefaultHasChanged)
{
    play("status:2");
    openDetail(record("A"));
    const BoxAnswers answers({Qt::Key_F3});
    editAndSave();
    press(Qt::Key_F2);
    press(Qt::Key_F3);
    EXPECT_EQ(results, QList<bool>({true}));
}

TEST_F(ProfileDetail, TakesAnUnansweredQuestionForCancel)
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
    EXPECT_TRUE(exists("A"));
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    EXPECT_EQ(daemon().requests().size(), 1u);
}

TEST_F(ProfileDetail, InvertsItsConnectEntryAfterEachSuccess)
{
    struct Attempt
    {
        const char* entry; // of the menu; "Edit" reconnects
        Scenario scenario;
        ShownBox notice;
    };
    Scenario refused;
    refused.connectAck = 3;
    const QList<Attempt> attempts = {
        {"Connect", {}, CONNECTED},
        {"Connect", refused, INCORRECT},
        {"Disconnect", connectedFromTheStart(), DISCONNECTED},
        {"Disconnect", connectedFromTheStart(2), UNAVAILABLE},
        {"Edit", connectedFromTheStart(), CONNECTED},
        {"Edit", connectedFromTheStart(1, 0), FAILED},
        {"Edit", connectedFromTheStart(0, 4), FAILED},
    };
    const auto labelOf = [](const QString& entry) {
        return entry == "Edit" ? QString("Reconnecting...") : entry + "ing...";
    };
    for (const Attempt& attempt : attempts) {
        SCOPED_TRACE(attempt.notice.text.toStdString() + " after " + attempt.entry);
        playScenario(attempt.scenario);
        openDetail(record("A"));
        const QString before = menu->text(CONNECT);
        begin(attempt.entry);
        press(Qt::Key_F3); // cancelled
        EXPECT_EQ(menu->text(CONNECT), before);
        EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
        begin(attempt.entry);
        EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->labelText(), labelOf(attempt.entry));
        EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->parentWidget(), detail);
        EXPECT_EQ(dismissNotice(), QList{attempt.notice});
        const bool done = attempt.notice == CONNECTED || attempt.notice == DISCONNECTED;
        EXPECT_EQ(menu->text(CONNECT) != before, done);
        EXPECT_EQ(results, QList<bool>());
        EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
        delete detail;
    }
}

// After a rename the screen still uses the former name, which no profile has any more.
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

TEST_F(ProfileDetail, SetsNoDefaultAfterARenameAndStillReportsTrue)
{
    play("status:2");
    store(record("A"));
    profiles()->setDefaultProfile("other");
    openDetail("A");
    const BoxAnswers answers({Qt::Key_F3});
    editAndSave(NAME_ENTRY, "B");
    press(Qt::Key_F2);
    EXPECT_TRUE(isDefault("other"));
    EXPECT_FALSE(isDefault("B"));
    EXPECT_FALSE(softKeys->getMidBtn()->isEnabled());
    press(Qt::Key_F3);
    EXPECT_EQ(results, QList<bool>({true}));
}

TEST_F(ProfileDetail, DeletesNothingAfterARenameAndStillReportsTrue)
{
    play("status:2");
    openDetail(record("A"));
    const BoxAnswers answers({Qt::Key_F3, Qt::Key_F1});
    editAndSave(NAME_ENTRY, "B");
    chooseInMenu("Delete Profile");
    EXPECT_EQ(answers.boxes(), QList<ShownBox>({RECONNECT_QUESTION, DELETE_QUESTION}));
    EXPECT_TRUE(exists("B"));
    EXPECT_TRUE(exists("other"));
    EXPECT_EQ(results, QList<bool>({true}));
}

TEST_F(ProfileDetail, OpensOneEditScreenAtATime)
{
    openDetail(record("A"));
    invoke(detail, "menuItemActivated", EDIT);
    const QPointer<SETUP_SIP_ProfileEdit> edit = open<SETUP_SIP_ProfileEdit>();
    ASSERT_NE(edit, nullptr);
    EXPECT_NE(edit->parentWidget(), detail);
    invoke(detail, "menuItemActivated", EDIT);
    EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), edit);
    press(Qt::Key_F3);
    EXPECT_EQ(edit, nullptr);
    EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), nullptr);
}

TEST_F(ProfileDetail, ConnectsAtOnceWithoutCredentials)
{
    play("admit");
    openDetail(record("A"));
    chooseInMenu("Connect");
    ASSERT_NE(open<SETUP_SIP_ConnectDlg>(), nullptr);
    EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->labelText(), "Connecting...");
    EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->parentWidget(), detail);
    EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->objectName(), "");
    keepPicture("detail-connecting");
    EXPECT_EQ(dismissNotice(), QList{CONNECTED});
    EXPECT_EQ(menu->text(CONNECT), "Disconnect");
    press(Qt::Key_F3);
    EXPECT_EQ(results, QList<bool>({false})) << "connecting is no change of the profiles";
}

TEST_F(ProfileDetail, FillsThePromptWithTheLastInput)
{
    play("admit");
    openDetail(guardedRecord("A"));
    for (const bool remember : {false, true}) {
        SETUP_SIP_Agent::saveLastInputUserIDPassword("you", "typed", remember);
        chooseInMenu("Connect");
        EXPECT_EQ(open<SETUP_SIP_UserIDAndPasswordDlg>()->findChild<QCheckBox*>()->isChecked(), remember);
        press(Qt::Key_F3);
    }
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
    EXPECT_EQ(dismissNotice(), QList{CONNECTED});
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

TEST_F(ProfileDetail, ComparesCredentialsWithTheProfileOfItsOpening)
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
    press(Qt::Key_F2);
    EXPECT_EQ(dismissNotice(), QList{CONNECTED});
}

TEST_F(ProfileDetail, EndsTheAttemptWhenThePromptIsCancelled)
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

TEST_F(ProfileDetail, ObeysThePointer)
{
    openDetail(record("A"));
    press(SoftKey::MIDDLE_CLICK);
    EXPECT_TRUE(isDefault("A"));
    press(SoftKey::LEFT_CLICK);
    EXPECT_EQ(open<QPopupMenu>(), menu);
    const auto answered = onceOpen<OrmuMessageBox>([](OrmuMessageBox&) { press(SoftKey::LEFT_CLICK); });
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

using ProfileDetailDeath = ProfileDetail;

TEST_F(ProfileDetailDeath, AbortsOnAnUnknownMenuIdAndNamesLine144)
{
    openDetail(record("A"));
    for (const int id : {-1, 3, 1000})
        EXPECT_EXIT(invoke(detail, "menuItemActivated", id), testing::KilledBySignal(SIGABRT),
                    "[{]1[}] SETUP_SIP_ProfileDetail[.]cpp:144\tormu assert failed !\n\n");
}

TEST_F(ProfileDetailDeath, AbortsWhenTheDaemonEndsBeforeTheConnect)
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
