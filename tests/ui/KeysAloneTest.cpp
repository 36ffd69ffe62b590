#include "OrmuMessageBox.h"
#include "OrmuMultiLineEdit.h"
#include "OrmuPushButton.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileDelConfirmDlg.h"
#include "SETUP_SIP_ProfileDetail.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_ProfileSelectDlg.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "ScreenTest.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QPointer>
#include <QSet>

namespace {

// What the user can act on in a screen, but for the soft keys.
QSet<QWidget*> controlsOf(QWidget* screen)
{
    QSet<QWidget*> controls;
    for (auto* button : screen->findChildren<QAbstractButton*>())
        if (qobject_cast<OrmuPushButton*>(button) == nullptr && button->isVisible())
            controls += button;
    for (auto* entry : screen->findChildren<QLineEdit*>())
        controls += entry;
    for (auto* combo : screen->findChildren<QComboBox*>())
        controls += combo;
    for (auto* list : screen->findChildren<QListBox*>())
        controls += list;
    return controls;
}

class KeysAlone : public ScreenTest
{
protected:
    KeysAlone()
    {
        for (const char* name : {"A", "B", "C"})
            store(record(name));
        store(guardedRecord("D"));
        play("admit");
    }

    // Presses the key often enough to pass by all that it reaches; each is in sight when it has the keys.
    static QSet<QWidget*> reachedBy(Qt::Key key)
    {
        QSet<QWidget*> reached;
        for (int i = 0; i < 20; ++i) {
            press(key);
            QWidget* focus = QApplication::focusWidget();
            if (focus == nullptr) {
                ADD_FAILURE() << "nothing has the keys";
                break;
            }
            auto* list = qobject_cast<QListBox*>(focus);
            EXPECT_FALSE((list != nullptr ? list->viewport() : focus)->visibleRegion().isEmpty());
            reached += focus;
        }
        return reached;
    }

    static void expectAllControlsReached()
    {
        QWidget* screen = OrmuPhoneWindow::instance()->topScreen();
        ASSERT_NE(screen, nullptr);
        EXPECT_FALSE(controlsOf(screen).isEmpty());
        EXPECT_EQ(reachedBy(Qt::Key_Down), controlsOf(screen));
        EXPECT_EQ(reachedBy(Qt::Key_Up), controlsOf(screen));
    }

    void finishWith(Qt::Key key)
    {
        const BoxAnswers answers({key});
        finishConnecting();
    }
};

TEST_F(KeysAlone, ReachEveryRowOfTheListAndEveryEntryOfItsMenus)
{
    openList();
    QSet<int> reached;
    for (int i = 0; i < 4; ++i) {
        reached += listBox->currentItem();
        press(Qt::Key_Down);
    }
    EXPECT_EQ(reached.size(), 4);
    press(Qt::Key_F1);
    QStringList entries;
    for (int i = 0; i < 2; ++i) {
        entries += open<QPopupMenu>()->activeAction()->text();
        press(Qt::Key_Down);
    }
    EXPECT_EQ(entries, QStringList({"New Profile", "Delete Profiles"}));
    press(Qt::Key_F3);
    EXPECT_EQ(top(), list.get());
    press(Qt::Key_F3);
    EXPECT_EQ(list, nullptr);
}

TEST_F(KeysAlone, ReachEveryControlOfTheEditScreenAndLeaveIt)
{
    openList();
    chooseInMenu("New Profile");
    ASSERT_NE(open<SETUP_SIP_ProfileEdit>(), nullptr);
    EXPECT_EQ(controlsOf(top()).size(), 7);
    expectAllControlsReached();
    press(Qt::Key_F3);
    EXPECT_TRUE(isBackAtList());

    chooseInMenu("New Profile");
    type("x");
    const BoxAnswers answers({Qt::Key_F3, Qt::Key_F1});
    press(Qt::Key_F3);
    EXPECT_NE(open<SETUP_SIP_ProfileEdit>(), nullptr);
    press(Qt::Key_F3);
    EXPECT_TRUE(isBackAtList());
}

TEST_F(KeysAlone, OpenAndCloseTheInternetProfilesAndTurnTheCheckBoxOver)
{
    openList();
    chooseInMenu("New Profile");
    auto* combo = top()->findChild<QComboBox*>();
    auto* check = top()->findChild<QCheckBox*>();
    while (!combo->hasFocus())
        press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_NE(QApplication::activePopupWidget(), nullptr);
    press(Qt::Key_Escape);
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    press(Qt::Key_Down);
    ASSERT_TRUE(check->hasFocus());
    const bool before = check->isChecked();
    press(Qt::Key_Return);
    EXPECT_NE(check->isChecked(), before);
    press(Qt::Key_Space);
    EXPECT_EQ(check->isChecked(), before);
    const BoxAnswers answers({Qt::Key_F1});
    press(Qt::Key_Escape);
    EXPECT_TRUE(isBackAtList());
}

TEST_F(KeysAlone, ReachEveryControlOfThePromptAndLeaveIt)
{
    openList();
    goToRow(3);
    chooseInRowMenu("Connect");
    ASSERT_NE(open<SETUP_SIP_UserIDAndPasswordDlg>(), nullptr);
    EXPECT_EQ(controlsOf(top()).size(), 3);
    expectAllControlsReached();
    press(Qt::Key_F3);
    EXPECT_TRUE(isBackAtList());
}

TEST_F(KeysAlone, ReachEveryEntryOfTheDetailScreensMenuAndLeaveIt)
{
    openList();
    press(Qt::Key_Return);
    ASSERT_NE(open<SETUP_SIP_ProfileDetail>(), nullptr);
    press(Qt::Key_F1);
    QStringList entries;
    for (int i = 0; i < 3; ++i) {
        entries += open<QPopupMenu>()->activeAction()->text();
        press(Qt::Key_Down);
    }
    EXPECT_EQ(entries, QStringList({"Connect", "Edit", "Delete Profile"}));
    press(Qt::Key_Escape);
    EXPECT_NE(open<SETUP_SIP_ProfileDetail>(), nullptr);
    press(Qt::Key_Escape);
    EXPECT_TRUE(isBackAtList());
}

TEST_F(KeysAlone, ReachEveryControlOfTheDeleteDialogAndLeaveIt)
{
    openList();
    {
        const auto acted =
            onceOpen<SETUP_SIP_ProfileDelConfirmDlg>([](SETUP_SIP_ProfileDelConfirmDlg& dialog) {
                EXPECT_EQ(controlsOf(&dialog).size(), 2);
                expectAllControlsReached();
                auto* names = dialog.findChild<UTIL_ListBox*>();
                while (!names->hasFocus())
                    press(Qt::Key_Down);
                while (names->currentItem() != 2)
                    press(names->currentItem() < 2 ? Qt::Key_Down : Qt::Key_Up);
                press(Qt::Key_Return);
                EXPECT_TRUE(names->itemChecked(2));
                press(Qt::Key_F1);
            });
        chooseInMenu("Delete Profiles");
    }
    EXPECT_EQ(rows(), QStringList({"A", "B", "D"}));
    {
        const auto acted =
            onceOpen<SETUP_SIP_ProfileDelConfirmDlg>([](SETUP_SIP_ProfileDelConfirmDlg& dialog) {
                while (!dialog.findChild<QCheckBox*>()->hasFocus())
                    press(Qt::Key_Up);
                press(Qt::Key_Return);
                EXPECT_TRUE(dialog.findChild<UTIL_ListBox*>()->itemChecked(1));
                press(Qt::Key_F3);
            });
        chooseInMenu("Delete Profiles");
    }
    EXPECT_EQ(rows().size(), 3);
}

TEST_F(KeysAlone, ChooseInTheSelectDialogAndLeaveIt)
{
    QString group("Profile0");
    {
        SETUP_SIP_ProfileSelectDlg dialog(group, nullptr, nullptr);
        const auto acted = onceOpen<SETUP_SIP_ProfileSelectDlg>([](SETUP_SIP_ProfileSelectDlg& shown) {
            expectAllControlsReached();
            auto* names = shown.findChild<UTIL_ListBox*>();
            while (names->currentItem() != 1)
                press(names->currentItem() < 1 ? Qt::Key_Down : Qt::Key_Up);
            press(Qt::Key_Return);
            press(Qt::Key_F1);
        });
        EXPECT_EQ(dialog.exec(), QDialog::Accepted);
        EXPECT_EQ(dialog.getSelectedProfile(), "Profile1");
    }
    SETUP_SIP_ProfileSelectDlg dialog(group, nullptr, nullptr);
    const auto acted =
        onceOpen<SETUP_SIP_ProfileSelectDlg>([](SETUP_SIP_ProfileSelectDlg&) { press(Qt::Key_F3); });
    EXPECT_EQ(dialog.exec(), QDialog::Rejected);
}

// The phone in the hands of somebody without a pointer.
TEST_F(KeysAlone, LeadThroughTheWholeLifeOfAProfile)
{
    openList();
    chooseInMenu("New Profile");
    for (const char* text : {"Work", "sip.example.org", "", "me"}) {
        type(text);
        press(Qt::Key_Down);
    }
    type("secret");
    press(Qt::Key_F2);
    ASSERT_TRUE(isBackAtList());
    ASSERT_EQ(rows().last(), "Work");

    goToRow(4);
    chooseInRowMenu("Connect");
    fillPrompt("me", "wrong");
    {
        const BoxAnswers retry({Qt::Key_F1});
        press(Qt::Key_F2);
        EXPECT_EQ(retry.boxes().value(0, ShownBox("", "", {})).text, "Incorrect Password");
    }
    fillPrompt("me", "secret");
    press(Qt::Key_F2);
    finishWith(Qt::Key_5);
    ASSERT_TRUE(isBackAtList());

    {
        const BoxAnswers ok({Qt::Key_F1});
        chooseInRowMenu("Disconnect");
    }
    finishWith(Qt::Key_5);
    chooseInRowMenu("Set as default");
    EXPECT_TRUE(SETUP_SIP_Agent::instance()->isProfileDefault("Work"));

    goToRow(4);
    chooseInRowMenu("Connect");
    fillPrompt("me", "secret");
    press(Qt::Key_F2);
    finishWith(Qt::Key_5);
    press(Qt::Key_Return);
    ASSERT_NE(open<SETUP_SIP_ProfileDetail>(), nullptr);
    chooseInMenu("Edit");
    press(Qt::Key_Down);
    type("2");
    {
        const BoxAnswers reconnect({Qt::Key_F1});
        press(Qt::Key_F2);
    }
    EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->labelText(), "Reconnecting...");
    finishWith(Qt::Key_5);

    const BoxAnswers ok({Qt::Key_F1});
    chooseInMenu("Delete Profile");
    EXPECT_TRUE(isBackAtList());
    EXPECT_EQ(rows(), QStringList({"A", "B", "C", "D"}));
    press(Qt::Key_F3);
    EXPECT_EQ(list, nullptr);
}

} // namespace
