// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The actions on a profile that the menu of its row and the menu of its detail screen share.
#include "OrmuMessageBox.h"
#include "OrmuMultiLineEdit.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "ScreenTest.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QCheckBox>
#include <QPointer>

namespace {
// The menu of a row ("row") or of the detail screen ("detail"), which the list has opened.
class ProfileMenu : public ScreenTest, public testing::WithParamInterface<const char*>
{
protected:
    ProfileMenu() { storeProfiles({"other", "A", "third"}); }
    ~ProfileMenu() override { closeAll(); }

    static bool isDetail() { return QString(GetParam()) == "detail"; }

    // Stores the profile and opens the screen for it.
    void openScreen(const SIP_PROFILE_CONTENT& profile = record("A"))
    {
        closeAll();
        store(profile);
        openList();
        goToRow(static_cast<int>(rows().indexOf(profile.displayName)));
        if (isDetail())
            press(Qt::Key_Return);
        screen = top();
    }

    static void choose(const QString& entry) { isDetail() ? chooseInMenu(entry) : chooseInRowMenu(entry); }
    QString connectEntry() const
    {
        return isDetail() ? screen->findChild<QPopupMenu*>()->text(0) : rowMenu()[0].mid(2);
    }

    // The requests that change something.
    QList<int> changes()
    {
        QList<int> sent = requests();
        sent.removeAll(int{PROFILE_CTRL_GET_STATUS});
        return sent;
    }

    // Opens the connect dialog by an entry, and answers the question before it. "Edit" reconnects.
    static SETUP_SIP_ConnectDlg* begin(const QString& entry)
    {
        const auto keys = entry == "Connect" ? std::initializer_list<Qt::Key>{}
                                             : std::initializer_list<Qt::Key>{Qt::Key_F1};
        boxesOf(keys, [&entry] {
            choose(entry);
            if (entry == "Edit")
                press(Qt::Key_F2);
        });
        return open<SETUP_SIP_ConnectDlg>();
    }

    // "user/password/remember" of the open prompt.
    static QString promptContents()
    {
        const auto* prompt = open<SETUP_SIP_UserIDAndPasswordDlg>();
        const auto entries = prompt->findChildren<OrmuMultiLineEdit*>();
        return entries[0]->text() + "/" + entries[1]->text() + "/" +
               (prompt->findChild<QCheckBox*>()->isChecked() ? "yes" : "no");
    }

    QPointer<QWidget> screen;
};

struct Attempt
{
    const char* entry;
    Scenario scenario;
    const char* label;
    ShownBox notice;
};

TEST_P(ProfileMenu, RunsEachOperationToItsNotice)
{
    QList<Attempt> attempts = {
        {"Connect", withStatus(0), "Connecting...", CONNECTED},
        {"Connect", withStatus(0, 0, 3), "Connecting...", INCORRECT},
        {"Disconnect", withStatus(2), "Disconnecting...", DISCONNECTED},
        {"Disconnect", withStatus(2, 2), "Disconnecting...", UNAVAILABLE},
    };
    if (isDetail())
        attempts += {{"Edit", withStatus(2), "Reconnecting...", CONNECTED},
                     {"Edit", withStatus(2, 1), "Reconnecting...", FAILED},
                     {"Edit", withStatus(2, 0, 4), "Reconnecting...", FAILED}};
    for (const Attempt& attempt : attempts) {
        SCOPED_TRACE(attempt.notice.text.toStdString() + " after " + attempt.entry);
        playScenario(attempt.scenario);
        openScreen();
        const QString before = connectEntry();
        const QListBoxItem* row = listBox->item(1);
        for (const bool cancels : {true, false}) {
            const QPointer<SETUP_SIP_ConnectDlg> dialog = begin(attempt.entry);
            ASSERT_NE(dialog, nullptr);
            EXPECT_EQ(dialog->labelText(), attempt.label);
            EXPECT_EQ(dialog->parentWidget(), screen);
            EXPECT_EQ(dialog->objectName(), "");
            keepPicture(QString(GetParam()) + "-connecting");
            if (cancels)
                press(Qt::Key_F3);
            else
                EXPECT_EQ(dismissNotice(), QList{attempt.notice});
            EXPECT_EQ(dialog, nullptr);
            EXPECT_EQ(top(), screen);
            const bool done = !cancels && (attempt.notice == CONNECTED || attempt.notice == DISCONNECTED);
            EXPECT_EQ(connectEntry() != before, isDetail() && done) << "the list asks the daemon";
        }
        EXPECT_STREQ(daemon().requests().back().name, "Profile1");
        EXPECT_EQ(listBox->item(1), row) << "the list shows no connections and stays as it is";
    }
}

TEST_P(ProfileMenu, DeletesAndDisconnectsOnOkAlone)
{
    play("status:2");
    openScreen();
    for (const auto& [entry, question] :
         {std::pair("Delete Profile", DELETE_QUESTION), std::pair("Disconnect", DISCONNECT_QUESTION)}) {
        const auto ask = [entry = entry] { choose(entry); };
        EXPECT_EQ(boxesOf({Qt::Key_F3}, ask), QList{question});
        hideBoxOf(ask);
        EXPECT_EQ(top(), screen);
    }
    EXPECT_EQ(rows(), QStringList({"other", "A", "third"}));
    EXPECT_EQ(listBox->currentItem(), 1);
    {
        BoxAnswers answers({Qt::Key_F1});
        answers.keepPicture(QString(GetParam()) + "-delete-");
        choose("Delete Profile");
        EXPECT_EQ(answers.boxes(), QList{DELETE_QUESTION});
    }
    EXPECT_FALSE(exists("A"));
    EXPECT_EQ(rows(), QStringList({"other", "third"}));
    EXPECT_TRUE(isBackAtList());
    EXPECT_EQ(changes(), QList<int>()) << "a deletion does not disconnect";
}

TEST_P(ProfileMenu, FillsThePromptWithTheLastInputForAnyProfile)
{
    play("admit");
    openScreen(guardedRecord("A"));
    choose("Connect");
    const auto* prompt = open<SETUP_SIP_UserIDAndPasswordDlg>();
    ASSERT_NE(prompt, nullptr);
    EXPECT_EQ(prompt->objectName(), "");
    EXPECT_FALSE(screen->isAncestorOf(prompt));
    EXPECT_EQ(promptContents(), "//no");
    EXPECT_EQ(changes(), QList<int>()) << "nothing is sent before the answer";
    fillPrompt("me", "secret");
    press(Qt::Key_Return);
    press(Qt::Key_F2);
    EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->labelText(), "Connecting...");
    EXPECT_EQ(dismissNotice(), QList{CONNECTED});
    EXPECT_STREQ(daemon().requests().back().name, "Profile1");
    EXPECT_EQ(connectEntry(), "Disconnect");

    openScreen(guardedRecord("B"));
    for (const bool changed : {false, true}) {
        if (changed)
            SETUP_SIP_Agent::saveLastInputUserIDPassword("you", "typed", false);
        choose("Connect");
        EXPECT_EQ(promptContents(), changed ? "you/typed/no" : "me/secret/yes");
        press(Qt::Key_F3);
    }
    choose("Connect");
    submitPrompt("me", "secret");
    EXPECT_EQ(dismissNotice(), QList{CONNECTED});
    EXPECT_STREQ(daemon().requests().back().name, "Profile3");
}

TEST_P(ProfileMenu, DeletesThePromptBeforeItOpensTheConnectDialog)
{
    play("late:60000");
    openScreen(guardedRecord("A"));
    choose("Connect");
    const QPointer<QWidget> prompt = top();
    QList<bool> wasThere;
    const OnceConnectDlgShows look([&] { wasThere += prompt != nullptr; });
    submitPrompt("me", "secret");
    EXPECT_EQ(wasThere, QList<bool>({false}));
}

TEST_P(ProfileMenu, EndsTheAttemptWhenThePromptIsLeft)
{
    play("admit");
    openScreen(guardedRecord("A"));
    choose("Connect");
    press(Qt::Key_Escape);
    EXPECT_EQ(top(), screen);
    choose("Connect");
    for (const bool retries : {true, false}) {
        boxesOf({retries ? Qt::Key_F1 : Qt::Key_F3}, [] { submitPrompt("me", "wrong"); });
        EXPECT_EQ(top() == screen, !retries);
    }
    EXPECT_EQ(connectEntry(), "Connect");
    EXPECT_EQ(changes(), QList<int>());
}

TEST_P(ProfileMenu, ReturnsToItsScreenWhenTheRequestCannotBeSent)
{
    play("admit");
    openScreen();
    const OnceConnectDlgShows daemonGoes([this] { stopDaemon(); });
    choose("Connect");
    EXPECT_EQ(top(), screen);
    EXPECT_TRUE(screen->findChildren<SETUP_SIP_ConnectDlg*>().isEmpty());
}

using ProfileMenuDeath = ProfileMenu;

TEST_P(ProfileMenuDeath, AbortsOnAConnectWithoutADaemon)
{
    play("admit");
    openScreen(guardedRecord("A"));
    choose("Connect");
    fillPrompt("me", "secret");
    stopDaemon();
    EXPECT_EXIT(press(Qt::Key_F2), testing::KilledBySignal(SIGABRT), LINK_ASSERTION);
    press(Qt::Key_F3);
    openScreen();
    const char* slot = isDetail() ? "menuItemActivated" : "contentMenuItemActivated";
    EXPECT_EXIT(invoke(screen, slot, 0), testing::KilledBySignal(SIGABRT), LINK_ASSERTION);
}

const auto OF_BOTH = testing::Values("row", "detail");
INSTANTIATE_TEST_SUITE_P(Of, ProfileMenu, OF_BOTH, [](const auto& tested) { return tested.param; });
INSTANTIATE_TEST_SUITE_P(Of, ProfileMenuDeath, OF_BOTH, [](const auto& tested) { return tested.param; });

} // namespace
