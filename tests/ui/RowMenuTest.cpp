#include "OrmuMessageBox.h"
#include "OrmuMultiLineEdit.h"
#include "OrmuPushButton.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileDetail.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "ScreenTest.h"
#include "UTIL_CST.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QCheckBox>
#include <QLabel>
#include <QPointer>
#include <QTimer>

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

    // Opens the menu of the current row by its key, looks at it and closes it.
    static QStringList entriesOfRowMenu()
    {
        QStringList entries;
        const auto looked = onceOpen<QPopupMenu>([&entries](QPopupMenu& menu) {
            for (const QAction* action : menu.actions()) {
                const int id = action->data().toInt();
                entries += QString("%1 %2%3").arg(id).arg(menu.text(id), action->isEnabled() ? "" : " (off)");
            }
            press(Qt::Key_F3);
        });
        press(Qt::Key_Menu);
        return entries;
    }
};

TEST_F(RowMenu, OpensTheDetailScreenOfAClickedRow)
{
    openList();
    goToRow(1);
    press(Qt::Key_Return);
    auto* detail = open<SETUP_SIP_ProfileDetail>();
    ASSERT_NE(detail, nullptr);
    EXPECT_EQ(detail->objectName(), "");
    EXPECT_FALSE(list->isAncestorOf(detail));
    press(Qt::Key_F3);
    EXPECT_TRUE(isBackAtList());
    clickRow(listBox, 2);
    EXPECT_NE(open<SETUP_SIP_ProfileDetail>(), nullptr);
}

TEST_F(RowMenu, OpensTheDetailScreenByEveryButton)
{
    openList();
    for (const int button : {0, 1, 2, 99}) {
        clickItem(0, button);
        ASSERT_NE(open<SETUP_SIP_ProfileDetail>(), nullptr);
        press(Qt::Key_F3);
        EXPECT_TRUE(isBackAtList());
    }
}

TEST_F(RowMenu, OpensTheClickedRowNotTheCurrentOne)
{
    openList();
    ASSERT_EQ(listBox->currentItem(), 0);
    clickItem(2);
    const auto* detail = open<SETUP_SIP_ProfileDetail>();
    ASSERT_NE(detail, nullptr);
    EXPECT_EQ(detail->getContentWidget()->findChild<QLabel*>()->text(), "Profile name:C");
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
    EXPECT_EQ(entriesOfRowMenu(), QStringList({"0 Connect", "1 Set as default", "2 Delete Profile"}));
    const BoxAnswers answers({Qt::Key_F1});
    chooseInRowMenu("Delete Profile");
    EXPECT_FALSE(exists("locked"));
}

TEST_F(RowMenu, OpensOneDetailScreenAtATime)
{
    openList();
    clickItem(0);
    const QPointer<SETUP_SIP_ProfileDetail> detail = open<SETUP_SIP_ProfileDetail>();
    clickItem(0);
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    // Done, but not deleted yet.
    emit detail->detailDone(false);
    clickItem(0);
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    EXPECT_TRUE(waitFor([&detail] { return detail == nullptr; }));
    EXPECT_EQ(top(), list.get());
}

TEST_F(RowMenu, DeletesTheDetailScreenOnlyAfterItsCodeHasReturned)
{
    openList();
    press(Qt::Key_Return);
    const QPointer<SETUP_SIP_ProfileDetail> detail = open<SETUP_SIP_ProfileDetail>();
    emit detail->detailDone(false);
    emit detail->detailDone(false);
    EXPECT_NE(detail, nullptr) << "posted, not sent";
    EXPECT_TRUE(waitFor([&detail] { return detail == nullptr; }));
    press(Qt::Key_Return);
    EXPECT_NE(open<SETUP_SIP_ProfileDetail>(), nullptr) << "the next one can be opened";
}

TEST_F(RowMenu, KeepsTheDetailScreenAfterOtherCustomEvents)
{
    openList();
    press(Qt::Key_Return);
    const QPointer<SETUP_SIP_ProfileDetail> detail = open<SETUP_SIP_ProfileDetail>();
    ASSERT_NE(detail, nullptr);
    const auto send = [this](int type) {
        QCustomEvent event(type);
        QApplication::sendEvent(list.get(), &event);
    };
    for (const int type : {1001, 1999}) {
        send(type);
        EXPECT_NE(detail, nullptr) << type;
    }
    send(1000);
    EXPECT_EQ(detail, nullptr);
}

TEST_F(RowMenu, RefreshesItsRowsAfterAChangeInTheDetailScreen)
{
    openList();
    goToRow(1);
    press(Qt::Key_Return);
    press(Qt::Key_F2);
    EXPECT_TRUE(row(listBox, 1)->pixmap(0).isNull());
    press(Qt::Key_F3);
    EXPECT_EQ(row(listBox, 1)->pixmap(0).toImage(), iconOf("Network_Connection.gif"));
}

TEST_F(RowMenu, KeepsItsRowsAfterNoChangeInTheDetailScreen)
{
    openList();
    const QListBoxItem* row = listBox->item(0);
    goToRow(2);
    press(Qt::Key_Return);
    press(Qt::Key_F3);
    EXPECT_TRUE(isBackAtList());
    EXPECT_EQ(listBox->item(0), row);
    EXPECT_EQ(listBox->currentItem(), 2);
}

TEST_F(RowMenu, RemovesTheRowThatTheDetailScreenDeletes)
{
    openList();
    goToRow(1);
    press(Qt::Key_Return);
    const BoxAnswers answers({Qt::Key_F1});
    chooseInMenu("Delete Profile");
    EXPECT_EQ(rows(), QStringList({"A", "C"}));
    EXPECT_TRUE(isBackAtList());
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
    EXPECT_EQ(entriesOfRowMenu()[0], "0 Disconnect");
    EXPECT_EQ(lastName(), "Profile2");
    EXPECT_EQ(requests(), QList<int>({3}));
    EXPECT_TRUE(daemon().waitForClosed(1));
}

TEST_F(RowMenu, DisablesSetAsDefaultForTheDefaultProfile)
{
    profiles()->setDefaultProfile("B");
    openList();
    EXPECT_EQ(entriesOfRowMenu(), QStringList({"0 Connect", "1 Set as default", "2 Delete Profile"}))
        << "there is no daemon";
    goToRow(1);
    EXPECT_EQ(entriesOfRowMenu()[1], "1 Set as default (off)");
}

TEST_F(RowMenu, DisablesSetAsDefaultForTheTouchedRow)
{
    profiles()->setDefaultProfile("A");
    openList();
    goToRow(2);
    const auto looked = onceOpen<QPopupMenu>([](QPopupMenu& menu) {
        EXPECT_FALSE(menu.isItemEnabled(1));
        press(Qt::Key_F3);
    });
    openRowMenuFor(0);
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

TEST_F(RowMenu, DeletesTheProfileOnOkAlone)
{
    openList();
    goToRow(1);
    {
        BoxAnswers answers({Qt::Key_F3});
        answers.keepPicture("row-delete-");
        chooseInRowMenu("Delete Profile");
        EXPECT_EQ(answers.boxes(), QList<ShownBox>({DELETE_QUESTION}));
        EXPECT_EQ(rows(), QStringList({"A", "B", "C"}));
        EXPECT_EQ(listBox->currentItem(), 1);
    }
    {
        const auto hidden = onceOpen<OrmuMessageBox>([](OrmuMessageBox& box) { box.hide(); });
        chooseInRowMenu("Delete Profile");
        EXPECT_TRUE(exists("B"));
        EXPECT_EQ(listBox->currentItem(), 1);
    }
    const BoxAnswers answers({Qt::Key_F1});
    chooseInRowMenu("Delete Profile");
    EXPECT_FALSE(exists("B"));
    EXPECT_EQ(rows(), QStringList({"A", "C"}));
}

TEST_F(RowMenu, ConnectsAtOnceWithoutCredentials)
{
    play("admit");
    openList();
    goToRow(1);
    chooseInRowMenu("Connect");
    auto* dialog = open<SETUP_SIP_ConnectDlg>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->labelText(), "Connecting...");
    EXPECT_EQ(dialog->parentWidget(), list.get());
    EXPECT_EQ(dialog->objectName(), "");
    keepPicture("row-connecting");
    const QListBoxItem* row = listBox->item(1);
    EXPECT_EQ(dismissNotice(), QList{CONNECTED});
    EXPECT_EQ(requests(), QList<int>({3, 0}));
    EXPECT_EQ(lastName(), "Profile1");
    EXPECT_EQ(listBox->item(1), row) << "the list shows no connections and stays as it is";
    EXPECT_EQ(top(), list.get());
    EXPECT_EQ(entriesOfRowMenu()[0], "0 Disconnect");
    // Another profile connects without a question.
    goToRow(2);
    chooseInRowMenu("Connect");
    EXPECT_EQ(dismissNotice(), QList{CONNECTED});
    EXPECT_EQ(requests(), QList<int>({3, 0, 3, 3, 0}));
}

TEST_F(RowMenu, OffersConnectAgainAfterAFailure)
{
    play("connect-ack:3");
    openList();
    chooseInRowMenu("Connect");
    EXPECT_EQ(dismissNotice(), QList{INCORRECT});
    EXPECT_EQ(entriesOfRowMenu()[0], "0 Connect");
}

TEST_F(RowMenu, DisconnectsAConnectedProfileOnOk)
{
    playScenario(connectedFromTheStart());
    openList();
    {
        const BoxAnswers answers({Qt::Key_F1});
        chooseInRowMenu("Disconnect");
        EXPECT_EQ(answers.boxes(), QList{DISCONNECT_QUESTION});
    }
    ASSERT_NE(open<SETUP_SIP_ConnectDlg>(), nullptr);
    EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->labelText(), "Disconnecting...");
    EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->parentWidget(), list.get());
    EXPECT_EQ(dismissNotice(), QList{DISCONNECTED});
    EXPECT_EQ(requests(), QList<int>({3, 1}));
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

TEST_F(RowMenu, DisconnectsNothingOnCancel)
{
    play("status:2");
    openList();
    const BoxAnswers answers({Qt::Key_F3});
    chooseInRowMenu("Disconnect");
    EXPECT_EQ(top(), list.get());
    EXPECT_EQ(requests(), QList<int>({3}));
}

TEST_F(RowMenu, FillsThePromptWithTheLastInputForAnyProfile)
{
    play("admit");
    store(guardedRecord("D"));
    store(guardedRecord("E"));
    openList();
    goToRow(3);
    chooseInRowMenu("Connect");
    auto* prompt = open<SETUP_SIP_UserIDAndPasswordDlg>();
    ASSERT_NE(prompt, nullptr);
    EXPECT_EQ(prompt->objectName(), "");
    EXPECT_FALSE(list->isAncestorOf(prompt));
    EXPECT_EQ(prompt->findChildren<OrmuMultiLineEdit*>()[0]->text(), "");
    EXPECT_FALSE(prompt->findChild<QCheckBox*>()->isChecked());
    fillPrompt("me", "secret");
    press(Qt::Key_Return);
    press(Qt::Key_F2);
    EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->labelText(), "Connecting...");
    EXPECT_EQ(dismissNotice(), QList<ShownBox>({CONNECTED}));
    EXPECT_EQ(lastName(), "Profile3");

    goToRow(4);
    chooseInRowMenu("Connect");
    const auto entries = open<SETUP_SIP_UserIDAndPasswordDlg>()->findChildren<OrmuMultiLineEdit*>();
    EXPECT_EQ(entries[0]->text(), "me");
    EXPECT_EQ(entries[1]->text(), "secret");
    EXPECT_TRUE(open<SETUP_SIP_UserIDAndPasswordDlg>()->findChild<QCheckBox*>()->isChecked());
    press(Qt::Key_F2);
    EXPECT_EQ(dismissNotice(), QList<ShownBox>({CONNECTED}));
    EXPECT_EQ(lastName(), "Profile4");
}

TEST_F(RowMenu, EndsTheAttemptWhenThePromptIsLeft)
{
    play("admit");
    store(guardedRecord("D"));
    openList();
    goToRow(3);
    chooseInRowMenu("Connect");
    press(Qt::Key_Escape);
    EXPECT_EQ(top(), list.get());
    chooseInRowMenu("Connect");
    fillPrompt("me", "wrong");
    const BoxAnswers answers({Qt::Key_F1, Qt::Key_F3});
    press(Qt::Key_F2);
    EXPECT_NE(open<SETUP_SIP_UserIDAndPasswordDlg>(), nullptr);
    press(Qt::Key_F2);
    EXPECT_EQ(top(), list.get());
    EXPECT_EQ(requests(), QList<int>({3, 3}));
}

TEST_F(RowMenu, ReturnsToTheListWhenAConnectIsCancelled)
{
    play("late:60000");
    openList();
    chooseInRowMenu("Connect");
    press(Qt::Key_F3);
    EXPECT_EQ(top(), list.get());
    EXPECT_EQ(entriesOfRowMenu()[0], "0 Connect");
}

TEST_F(RowMenu, ReturnsToTheListWhenTheRequestCannotBeSent)
{
    play("admit");
    openList();
    const OnceConnectDlgShows daemonGoes([this] { stopDaemon(); });
    chooseInRowMenu("Connect");
    EXPECT_EQ(top(), list.get());
    EXPECT_TRUE(list->findChildren<SETUP_SIP_ConnectDlg*>().isEmpty());
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
    auto* prompt = open<SETUP_SIP_UserIDAndPasswordDlg>();
    ASSERT_NE(prompt, nullptr);
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

TEST_F(RowMenuDeath, AbortsOnAConnectWithoutADaemon)
{
    openList();
    listBox->setCurrentItem(0);
    EXPECT_EXIT(invoke(list.get(), "contentMenuItemActivated", 0), testing::KilledBySignal(SIGABRT),
                "[{]1[}] SIP_COMM_Controler[.]cpp:[0-9]+\tormu assert failed !\n\n");
}

} // namespace
