// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Operates every screen by keys only.
#include "OrmuMessageBox.h"
#include "OrmuPushButton.h"
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
#include <QLineEdit>
#include <QSet>

namespace {

// The widgets that the user acts on in a screen, but for the soft keys.
QSet<QWidget*> controlsOf(const QWidget* screen)
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

// The list of "A", "B", "C", and of "D", which asks for user name and password.
class Keyboard : public ScreenTest
{
protected:
    Keyboard()
    {
        storeProfiles({"A", "B", "C"});
        store(guardedRecord("D"));
        play("admit");
        openList();
    }

    // The widgets that get the focus when the key is pressed again and again. Each is in sight then.
    static QSet<QWidget*> reachedBy(Qt::Key key)
    {
        QSet<QWidget*> reached;
        for (int i = 0; i < 20; ++i) {
            press(key);
            QWidget* focus = QApplication::focusWidget();
            if (focus == nullptr) {
                ADD_FAILURE() << "nothing has the focus";
                break;
            }
            auto* list = qobject_cast<QListBox*>(focus);
            EXPECT_FALSE((list != nullptr ? list->viewport() : focus)->visibleRegion().isEmpty());
            reached += focus;
        }
        return reached;
    }

    static void expectReachesControls(qsizetype count)
    {
        ASSERT_NE(top(), nullptr);
        EXPECT_EQ(controlsOf(top()).size(), count);
        EXPECT_EQ(reachedBy(Qt::Key_Down), controlsOf(top()));
        EXPECT_EQ(reachedBy(Qt::Key_Up), controlsOf(top()));
    }

    static void moveTo(const QWidget* control)
    {
        while (!control->hasFocus())
            press(Qt::Key_Down);
    }

    // The entries of the screen's menu, which is closed by the key.
    static QStringList menuEntries(Qt::Key close)
    {
        press(Qt::Key_F1);
        QStringList entries;
        const auto* menu = open<QPopupMenu>();
        for (qsizetype i = 0; i < menu->actions().size(); ++i) {
            entries += menu->activeAction()->text();
            press(Qt::Key_Down);
        }
        press(close);
        return entries;
    }
};

TEST_F(Keyboard, ReachesEveryRowAndMenuEntryAndLeaves)
{
    QSet<int> reached;
    for (int i = 0; i < 4; ++i) {
        reached += listBox->currentItem();
        press(Qt::Key_Down);
    }
    EXPECT_EQ(reached.size(), 4);
    EXPECT_EQ(menuEntries(Qt::Key_F3), QStringList({"New Profile", "Delete Profiles"}));
    EXPECT_EQ(top(), list.get());
    press(Qt::Key_Return);
    ASSERT_NE(open<SETUP_SIP_ProfileDetail>(), nullptr);
    EXPECT_EQ(menuEntries(Qt::Key_Escape), QStringList({"Connect", "Edit", "Delete Profile"}));
    EXPECT_NE(open<SETUP_SIP_ProfileDetail>(), nullptr);
    press(Qt::Key_Escape);
    EXPECT_TRUE(isBackAtList());
    press(Qt::Key_F3);
    EXPECT_EQ(list, nullptr);
}

TEST_F(Keyboard, OperatesTheEditScreen)
{
    chooseInMenu("New Profile");
    ASSERT_NE(open<SETUP_SIP_ProfileEdit>(), nullptr);
    expectReachesControls(7);
    moveTo(top()->findChild<QComboBox*>());
    press(Qt::Key_Return);
    EXPECT_NE(QApplication::activePopupWidget(), nullptr);
    press(Qt::Key_Escape);
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    const auto* check = top()->findChild<QCheckBox*>();
    moveTo(check);
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Space}) {
        const bool before = check->isChecked();
        press(key);
        EXPECT_NE(check->isChecked(), before);
    }
    boxesOf({Qt::Key_F3}, [] { press(Qt::Key_F3); });
    EXPECT_NE(open<SETUP_SIP_ProfileEdit>(), nullptr);
    boxesOf({Qt::Key_F1}, [] { press(Qt::Key_Escape); });
    EXPECT_TRUE(isBackAtList());
}

TEST_F(Keyboard, ReachesEveryControlOfThePromptAndLeavesIt)
{
    goToRow(3);
    chooseInRowMenu("Connect");
    ASSERT_NE(open<SETUP_SIP_UserIDAndPasswordDlg>(), nullptr);
    expectReachesControls(3);
    press(Qt::Key_F3);
    EXPECT_TRUE(isBackAtList());
}

TEST_F(Keyboard, OperatesTheDeleteDialog)
{
    inDeleteDialog([](const QDialog& dialog) {
        expectReachesControls(2);
        const auto* names = dialog.findChild<UTIL_ListBox*>();
        moveTo(names);
        goToRow(names, 2);
        press(Qt::Key_Return);
        EXPECT_TRUE(names->itemChecked(2));
        press(Qt::Key_F1);
    });
    EXPECT_EQ(rows(), QStringList({"A", "B", "D"}));
    inDeleteDialog([](const QDialog& dialog) {
        const auto* all = dialog.findChild<QCheckBox*>();
        while (!all->hasFocus())
            press(Qt::Key_Up);
        press(Qt::Key_Return);
        EXPECT_TRUE(dialog.findChild<UTIL_ListBox*>()->itemChecked(1));
        press(Qt::Key_F3);
    });
    EXPECT_EQ(rows().size(), 3);
}

TEST_F(Keyboard, OperatesTheSelectDialog)
{
    QString group("Profile0");
    for (const Qt::Key end : {Qt::Key_F1, Qt::Key_F3}) {
        SETUP_SIP_ProfileSelectDlg dialog(group, nullptr, nullptr);
        const auto acted = onceOpen<SETUP_SIP_ProfileSelectDlg>([end](SETUP_SIP_ProfileSelectDlg& shown) {
            expectReachesControls(1);
            goToRow(shown.findChild<UTIL_ListBox*>(), 1);
            press(Qt::Key_Return);
            press(end);
        });
        EXPECT_EQ(dialog.exec(), end == Qt::Key_F1 ? QDialog::Accepted : QDialog::Rejected);
        EXPECT_EQ(dialog.getSelectedProfile(), "Profile1");
    }
}

TEST_F(Keyboard, LeadsThroughTheWholeLifeOfAProfile)
{
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
    EXPECT_EQ(boxesOf({Qt::Key_F1}, [] { submitPrompt("me", "wrong"); }).value(0, UNAVAILABLE).text,
              "Incorrect Password");
    submitPrompt("me", "secret");
    boxesOf({Qt::Key_5}, [] { finishConnecting(); });
    ASSERT_TRUE(isBackAtList());
    boxesOf({Qt::Key_F1}, [] { chooseInRowMenu("Disconnect"); });
    dismissNotice();
    chooseInRowMenu("Set as default");
    EXPECT_TRUE(isDefault("Work"));

    goToRow(4);
    chooseInRowMenu("Connect");
    submitPrompt("me", "secret");
    dismissNotice();
    press(Qt::Key_Return);
    ASSERT_NE(open<SETUP_SIP_ProfileDetail>(), nullptr);
    chooseInMenu("Edit");
    press(Qt::Key_Down);
    type("2");
    boxesOf({Qt::Key_F1}, [] { press(Qt::Key_F2); });
    EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->labelText(), "Reconnecting...");
    dismissNotice();
    boxesOf({Qt::Key_F1}, [] { chooseInMenu("Delete Profile"); });
    EXPECT_TRUE(isBackAtList());
    EXPECT_EQ(rows(), QStringList({"A", "B", "C", "D"}));
    press(Qt::Key_F3);
    EXPECT_EQ(list, nullptr);
}

} // namespace
