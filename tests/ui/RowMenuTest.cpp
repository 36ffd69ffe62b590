// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuMessageBox.h"
#include "OrmuPushButton.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileDetail.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "ScreenTest.h"
#include "UTIL_CST.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QLabel>
#include <QPointer>

namespace {
// The list of "A", "B" and "C" in the groups Profile0 to Profile2.
class RowMenu : public ScreenTest
{
protected:
    RowMenu() { storeProfiles({"A", "B", "C"}); }
    ~RowMenu() override { closeAll(); }

    std::string lastName() { return daemon().requests().back().name; }

    void clickItem(int row, int button = 1)
    {
        QMetaObject::invokeMethod(list.get(), "itemClicked", Q_ARG(int, button),
                                  Q_ARG(QListBoxItem*, listBox->item(row)), Q_ARG(QPoint, QPoint()));
    }
    // Opens the menu for a row that need not be the current one.
    void openRowMenuFor(int row)
    {
        QMetaObject::invokeMethod(list.get(), "showContentMenu", Q_ARG(QListBoxItem*, listBox->item(row)),
                                  Q_ARG(QPoint, QPoint()));
    }
};

TEST_F(RowMenu, OpensTheDetailScreenOfTheClickedRow)
{
    openList();
    const auto clickAnother = [this](int button) {
        listBox->setCurrentItem(0);
        clickItem(2, button);
    };
    const std::function<void()> clicks[] = {[this] { clickRow(listBox, 2); }, [] { press(Qt::Key_Return); },
                                            [&] { clickAnother(0); },         [&] { clickAnother(1); },
                                            [&] { clickAnother(2); },         [&] { clickAnother(99); }};
    for (const auto& click : clicks) {
        click();
        const auto* detail = open<SETUP_SIP_ProfileDetail>();
        ASSERT_NE(detail, nullptr);
        EXPECT_EQ(detail->objectName(), "");
        EXPECT_FALSE(list->isAncestorOf(detail));
        EXPECT_EQ(detail->getContentWidget()->findChild<QLabel*>()->text(), "Profile name:C");
        press(Qt::Key_F3);
        EXPECT_TRUE(isBackAtList());
    }
}

TEST_F(RowMenu, IgnoresAClickBesideTheRows)
{
    openList();
    clickAt(listBox->viewport(), QPoint(20, listBox->viewport()->height() - 5));
    clickAt(listBox->viewport(), QPoint(20, listBox->viewport()->height() - 5), Qt::RightButton);
    EXPECT_EQ(top(), list.get());
    EXPECT_EQ(listBox->findChildren<QPopupMenu*>().size(), 0);
}

TEST_F(RowMenu, OpensNoDetailScreenOfALockedRow)
{
    store(lockedRecord("locked"));
    openList();
    goToRow(3);
    press(Qt::Key_Return);
    clickRow(listBox, 3);
    EXPECT_EQ(top(), list.get());
    EXPECT_EQ(rowMenu(), QStringList({"0 Connect", "1 Set as default", "2 Delete Profile"}));
    boxesOf({Qt::Key_F1}, [] { chooseInRowMenu("Delete Profile"); });
    EXPECT_FALSE(exists("locked"));
}

TEST_F(RowMenu, OpensOneDetailScreenAtATime)
{
    openList();
    clickItem(0);
    const QPointer<SETUP_SIP_ProfileDetail> detail = open<SETUP_SIP_ProfileDetail>();
    clickItem(0);
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    // Done, but not deleted before its code has returned.
    emit detail->detailDone(false);
    emit detail->detailDone(false);
    clickItem(0);
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    EXPECT_TRUE(waitFor([&detail] { return detail == nullptr; }));
    EXPECT_EQ(top(), list.get());
    clickItem(0);
    EXPECT_NE(open<SETUP_SIP_ProfileDetail>(), nullptr) << "the next one can be opened";
}

TEST_F(RowMenu, KeepsTheDetailScreenAfterOtherCustomEvents)
{
    openList();
    press(Qt::Key_Return);
    const QPointer<SETUP_SIP_ProfileDetail> detail = open<SETUP_SIP_ProfileDetail>();
    ASSERT_NE(detail, nullptr);
    for (const int type : {1001, 1999, 1000}) {
        QCustomEvent event(type);
        QApplication::sendEvent(list.get(), &event);
        EXPECT_EQ(detail == nullptr, type == 1000) << type;
    }
}

TEST_F(RowMenu, RefreshesItsRowsAfterAChangeInTheDetailScreen)
{
    openList();
    const QListBoxItem* first = listBox->item(0);
    goToRow(1);
    for (const bool changes : {false, true}) {
        press(Qt::Key_Return);
        if (changes)
            press(Qt::Key_F2);
        EXPECT_TRUE(row(listBox, 1)->pixmap(0).isNull());
        press(Qt::Key_F3);
        EXPECT_TRUE(isBackAtList());
        EXPECT_EQ(listBox->item(0) == first && listBox->currentItem() == 1, !changes);
    }
    EXPECT_EQ(row(listBox, 1)->pixmap(0).toImage(), iconOf("Network_Connection.gif"));
}

TEST_F(RowMenu, ShowsTheNewNameAfterAnEdit)
{
    openList();
    press(Qt::Key_Return);
    chooseInMenu("Edit");
    press(Qt::Key_End);
    type("bc");
    press(Qt::Key_F2);
    EXPECT_TRUE(isBackAtList());
    EXPECT_EQ(rows(), QStringList({"B", "C", "Abc"}));
}

TEST_F(RowMenu, OffersDisconnectForAConnectedProfileByItsGroup)
{
    play("status:2");
    openList();
    goToRow(2);
    EXPECT_EQ(rowMenu()[0], "0 Disconnect");
    EXPECT_EQ(lastName(), "Profile2");
    EXPECT_EQ(requests(), QList<int>({3}));
    EXPECT_TRUE(daemon().waitForClosed(1));
}

TEST_F(RowMenu, AsksTheDaemonAtEachOpening)
{
    play("admit");
    openList();
    goToRow(1);
    chooseInRowMenu("Connect");
    EXPECT_EQ(dismissNotice(), QList{CONNECTED});
    EXPECT_EQ(rowMenu()[0], "0 Disconnect");
    goToRow(2);
    chooseInRowMenu("Connect"); // another one, without a question
    EXPECT_EQ(dismissNotice(), QList{CONNECTED});
    EXPECT_EQ(requests(), QList<int>({3, 0, 3, 3, 0}));
}

TEST_F(RowMenu, DisablesSetAsDefaultForTheDefaultProfile)
{
    profiles()->setDefaultProfile("B");
    openList();
    EXPECT_EQ(rowMenu(), QStringList({"0 Connect", "1 Set as default", "2 Delete Profile"}))
        << "there is no daemon";
    goToRow(1);
    EXPECT_EQ(rowMenu()[1], "1 Set as default (off)");
    goToRow(2);
    const auto looked = onceOpen<QPopupMenu>([](QPopupMenu& menu) {
        EXPECT_FALSE(menu.isItemEnabled(1));
        press(Qt::Key_F3);
    });
    openRowMenuFor(1); // the touched row counts, not the current one
}

TEST_F(RowMenu, OpensByKeyByLongPressAndByTheRightButton)
{
    openList();
    const auto opening = [this](const std::function<void()>& touch) {
        bool opened = false;
        {
            const auto looked = onceOpen<QPopupMenu>([&opened](QPopupMenu& menu) {
                opened = menu.text(0) == "Connect";
                keepPicture("row-menu");
                press(Qt::Key_Escape);
            });
            touch();
            EXPECT_TRUE(waitFor([&opened] { return opened; }));
        }
        return listBox->currentItem();
    };
    EXPECT_EQ(opening([this] { longPress(listBox, 1); }), 1);
    EXPECT_EQ(opening([this] { clickRow(listBox, 2, Qt::RightButton); }), 2);
    EXPECT_EQ(opening([] { press(Qt::Key_Menu); }), 2);
    EXPECT_EQ(top(), list.get()) << "none of them is a click";
    EXPECT_EQ(listBox->findChildren<QPopupMenu*>().size(), 3) << "each stays as long as the list does";
}

TEST_F(RowMenu, OpensAtTheTouchedPlace)
{
    openList();
    const QPoint place = listBox->visualItemRect(listBox->item(1)).topLeft() + QPoint(37, 5);
    QPoint corner;
    const auto looked = onceOpen<QPopupMenu>([&corner](QPopupMenu& menu) {
        corner = menu.mapToGlobal(QPoint());
        press(Qt::Key_F3);
    });
    clickAt(listBox->viewport(), place, Qt::RightButton);
    EXPECT_EQ(corner, listBox->viewport()->mapToGlobal(place));
}

TEST_F(RowMenu, AsksAboutTheTouchedRowAndActsOnTheCurrentOne)
{
    play("status:2");
    openList();
    goToRow(2);
    {
        const auto chosen = onceOpen<QPopupMenu>([](QPopupMenu&) { chooseEntry("Disconnect"); });
        const BoxAnswers answers({Qt::Key_F1});
        openRowMenuFor(0);
    }
    ASSERT_TRUE(daemon().waitForRequests(2));
    EXPECT_EQ(requests(), QList<int>({3, 1}));
    EXPECT_STREQ(daemon().requests()[0].name, "Profile0");
    EXPECT_STREQ(daemon().requests()[1].name, "Profile2");
}

TEST_F(RowMenu, ActsOnTheRowThatIsCurrentAtTheChoice)
{
    openList();
    const auto chosen = onceOpen<QPopupMenu>([this](QPopupMenu&) {
        listBox->setCurrentItem(2);
        chooseEntry("Set as default");
    });
    press(Qt::Key_Menu);
    EXPECT_TRUE(isDefault("C"));
    EXPECT_FALSE(isDefault("A"));
}

TEST_F(RowMenu, DoesNothingWithoutACurrentRow)
{
    openList();
    listBox->setCurrentItem(-1);
    for (const int id : {0, 1, 2, 77})
        invoke(list.get(), "contentMenuItemActivated", id);
    EXPECT_EQ(top(), list.get());
    EXPECT_EQ(rows(), QStringList({"A", "B", "C"}));
}

TEST_F(RowMenu, SetsTheDefaultAndShowsIt)
{
    profiles()->setDefaultProfile("A");
    openList();
    goToRow(1);
    chooseInRowMenu("Set as default");
    EXPECT_TRUE(isDefault("B"));
    EXPECT_EQ(row(listBox, 1)->pixmap(0).toImage(), iconOf("Network_Connection.gif"));
    EXPECT_TRUE(row(listBox, 0)->pixmap(0).isNull());
    EXPECT_EQ(listBox->currentItem(), 0) << "a refresh keeps no selection";
    keepPicture("list-default");
}

// The list holds the prompt and the connect dialog that it opened last.
TEST_F(RowMenu, OpensANewPromptAndDialogWhileItHoldsOne)
{
    play("late:60000");
    store(guardedRecord("D"));
    openList();
    const auto connect = [this] {
        invoke(list.get(), "contentMenuItemActivated", 0);
        return QPointer<QWidget>(top());
    };
    for (const int row : {3, 0}) {
        goToRow(row);
        const auto first = connect();
        const auto second = connect();
        EXPECT_NE(second->metaObject(), list->metaObject());
        ASSERT_NE(first, second);
        QMetaObject::invokeMethod(first, row == 3 ? "slotQuit" : "slotCancelled");
        EXPECT_EQ(second, nullptr);
        EXPECT_EQ(top(), first);
        press(Qt::Key_F3);
        EXPECT_NE(first, nullptr);
        delete first;
    }
}

TEST_F(RowMenu, ObeysThePointer)
{
    play("admit");
    store(guardedRecord("D"));
    SETUP_SIP_Agent::saveLastInputUserIDPassword("me", "secret", true);
    openList();
    {
        const auto chosen = onceOpen<QPopupMenu>([](QPopupMenu&) { clickMenuEntry("Connect"); });
        clickRow(listBox, 3, Qt::RightButton);
    }
    ASSERT_NE(open<SETUP_SIP_UserIDAndPasswordDlg>(), nullptr);
    press(SoftKey::MIDDLE_CLICK);
    const auto tapped = onceOpen<OrmuMessageBox>([](OrmuMessageBox& box) { click(&box); });
    finishConnecting();
    EXPECT_EQ(requests(), QList<int>({3, 0}));
}

using RowMenuDeath = RowMenu;

TEST_F(RowMenuDeath, AbortsOnUnknownMenuIds)
{
    openList();
    listBox->setCurrentItem(0);
    for (const char* slot : {"menuItemActivated", "contentMenuItemActivated"})
        for (const int id : {-1, 3, 1000})
            EXPECT_EXIT(invoke(list.get(), slot, id), testing::KilledBySignal(SIGABRT),
                        "[{]1[}] SETUP_SIP_ProfileList[.]cpp:[0-9]+\tormu assert failed !\n\n");
    EXPECT_EXIT(invoke(list.get(), "menuItemActivated", 2), testing::KilledBySignal(SIGABRT),
                "ormu assert failed !");
}

} // namespace
