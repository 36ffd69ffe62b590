#include "OrmuMessageBox.h"
#include "OrmuMultiLineEdit.h"
#include "OrmuPushButton.h"
#include "RES_ICON_Reader.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileDetail.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "SetupScreensTest.h"
#include "UTIL_CST.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QCheckBox>
#include <QLabel>
#include <QPointer>
#include <QTimer>

using namespace ScreenDriver;

namespace {
constexpr int CONNECT = 0;

// The list of "A", "B" and "C" in the groups Profile0 to Profile2.
class RowMenu : public SetupScreensTest
{
protected:
    RowMenu()
    {
        for (const char* name : {"A", "B", "C"})
            store(record(name));
    }
    ~RowMenu() override { closeAll(); }

    // Deletes the screens that the list has left.
    void closeAll()
    {
        list.reset();
        while (QWidget* left = OrmuPhoneWindow::instance()->topScreen())
            delete left;
    }

    QList<int> requests()
    {
        QList<int> sent;
        for (const _SIPD_MSG_PROFILE_S& request : daemon().requests())
            sent += static_cast<int>(request.request);
        return sent;
    }
    std::string lastName() { return daemon().requests().back().name; }

    bool isDefault(const char* name) { return SETUP_SIP_Agent::instance()->isProfileDefault(name); }
    bool exists(const char* name) { return SETUP_SIP_Agent::instance()->isProfileExisted(name); }

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

    QList<ShownBox> dismissNotice()
    {
        const BoxAnswers answers({Qt::Key_F2});
        finishConnecting();
        return answers.boxes();
    }
};

TEST_F(RowMenu, AClickOnARowOpensItsDetailScreen)
{
    openList();
    goToRow(1);
    press(Qt::Key_Return);
    auto* detail = open<SETUP_SIP_ProfileDetail>();
    ASSERT_NE(detail, nullptr);
    EXPECT_EQ(detail->objectName(), "");
    EXPECT_FALSE(list->isAncestorOf(detail));
    press(Qt::Key_F3);
    EXPECT_TRUE(waitFor([this] { return OrmuPhoneWindow::instance()->topScreen() == list.get(); }));
    clickRow(listBox, 2);
    EXPECT_NE(open<SETUP_SIP_ProfileDetail>(), nullptr);
}

TEST_F(RowMenu, EveryButtonOfAClickIsAlike)
{
    openList();
    for (const int button : {0, 1, 2, 99}) {
        QMetaObject::invokeMethod(list.get(), "itemClicked", Q_ARG(int, button),
                                  Q_ARG(QListBoxItem*, listBox->item(0)), Q_ARG(QPoint, QPoint()));
        ASSERT_NE(open<SETUP_SIP_ProfileDetail>(), nullptr);
        press(Qt::Key_F3);
        EXPECT_TRUE(waitFor([this] { return OrmuPhoneWindow::instance()->topScreen() == list.get(); }));
    }
}

TEST_F(RowMenu, AClickOpensTheRowThatWasClickedNotTheCurrentOne)
{
    openList();
    ASSERT_EQ(listBox->currentItem(), 0);
    QMetaObject::invokeMethod(list.get(), "itemClicked", Q_ARG(int, 1),
                              Q_ARG(QListBoxItem*, listBox->item(2)), Q_ARG(QPoint, QPoint()));
    const auto* detail = open<SETUP_SIP_ProfileDetail>();
    ASSERT_NE(detail, nullptr);
    EXPECT_EQ(detail->getContentWidget()->findChild<QLabel*>()->text(), "Profile name:C");
}

TEST_F(RowMenu, AClickBesideTheRowsDoesNothing)
{
    openList();
    clickAt(listBox->viewport(), QPoint(20, listBox->viewport()->height() - 5));
    clickAt(listBox->viewport(), QPoint(20, listBox->viewport()->height() - 5), Qt::RightButton);
    EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), list.get());
    EXPECT_EQ(listBox->findChildren<QPopupMenu*>().size(), 0);
}

TEST_F(RowMenu, ALockedRowOpensNothingButHasAMenu)
{
    SIP_PROFILE_CONTENT locked = record("locked");
    locked.locked = true;
    store(locked);
    openList();
    goToRow(3);
    press(Qt::Key_Return);
    clickRow(listBox, 3);
    EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), list.get());
    EXPECT_EQ(entriesOfRowMenu(), QStringList({"0 Connect", "1 Set as default", "2 Delete Profile"}));
    const BoxAnswers answers({Qt::Key_F1});
    chooseInRowMenu("Delete Profile");
    EXPECT_FALSE(exists("locked"));
}

TEST_F(RowMenu, OpensOneDetailScreenAtATime)
{
    openList();
    const auto clickFirst = [this] {
        QMetaObject::invokeMethod(list.get(), "itemClicked", Q_ARG(int, 1),
                                  Q_ARG(QListBoxItem*, listBox->item(0)), Q_ARG(QPoint, QPoint()));
    };
    clickFirst();
    const QPointer<SETUP_SIP_ProfileDetail> detail = open<SETUP_SIP_ProfileDetail>();
    clickFirst();
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    // Done, but not deleted yet.
    emit detail->detailDone(false);
    clickFirst();
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    EXPECT_TRUE(waitFor([&detail] { return detail == nullptr; }));
    EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), list.get());
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

TEST_F(RowMenu, LeavesTheDetailScreenOpenAtAnyOtherCustomEvent)
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

TEST_F(RowMenu, ShowsTheListAnewWhenTheDetailScreenTellsAChange)
{
    openList();
    goToRow(1);
    press(Qt::Key_Return);
    press(Qt::Key_F2);
    EXPECT_TRUE(static_cast<UTIL_ListBoxItem*>(listBox->item(1))->pixmap(0).isNull());
    press(Qt::Key_F3);
    const QPixmap mark = static_cast<UTIL_ListBoxItem*>(listBox->item(1))->pixmap(0);
    EXPECT_EQ(mark.toImage(), RES_ICON_Reader().getIcon("Network_Connection.gif").toImage());
}

TEST_F(RowMenu, LeavesTheListWhenTheDetailScreenTellsNoChange)
{
    openList();
    const QListBoxItem* row = listBox->item(0);
    goToRow(2);
    press(Qt::Key_Return);
    press(Qt::Key_F3);
    EXPECT_TRUE(waitFor([this] { return OrmuPhoneWindow::instance()->topScreen() == list.get(); }));
    EXPECT_EQ(listBox->item(0), row);
    EXPECT_EQ(listBox->currentItem(), 2);
}

TEST_F(RowMenu, GoesWithAProfileThatTheDetailScreenDeletes)
{
    openList();
    goToRow(1);
    press(Qt::Key_Return);
    const BoxAnswers answers({Qt::Key_F1});
    chooseInMenu("Delete Profile");
    EXPECT_EQ(rows(), QStringList({"A", "C"}));
    EXPECT_TRUE(waitFor([this] { return OrmuPhoneWindow::instance()->topScreen() == list.get(); }));
}

TEST_F(RowMenu, ShowsTheNewNameAfterAnEditFromTheDetailScreen)
{
    openList();
    press(Qt::Key_Return);
    chooseInMenu("Edit");
    press(Qt::Key_End);
    type("bc");
    press(Qt::Key_F2);
    EXPECT_TRUE(waitFor([this] { return OrmuPhoneWindow::instance()->topScreen() == list.get(); }));
    EXPECT_EQ(rows(), QStringList({"B", "C", "Abc"}));
}

TEST_F(RowMenu, HasThreeEntriesInTheirOrder)
{
    play("status:0");
    openList();
    EXPECT_EQ(entriesOfRowMenu(), QStringList({"0 Connect", "1 Set as default", "2 Delete Profile"}));
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

TEST_F(RowMenu, OffersConnectWithoutADaemon)
{
    openList();
    EXPECT_EQ(entriesOfRowMenu()[0], "0 Connect");
}

TEST_F(RowMenu, DisablesSetAsDefaultForTheDefaultProfile)
{
    SETUP_SIP_Agent::instance()->setDefaultProfile("B");
    openList();
    EXPECT_EQ(entriesOfRowMenu()[1], "1 Set as default");
    goToRow(1);
    EXPECT_EQ(entriesOfRowMenu()[1], "1 Set as default (off)");
}

TEST_F(RowMenu, DisablesSetAsDefaultByTheRowTouchedNotTheCurrentOne)
{
    SETUP_SIP_Agent::instance()->setDefaultProfile("A");
    openList();
    goToRow(2);
    const auto looked = onceOpen<QPopupMenu>([](QPopupMenu& menu) {
        EXPECT_FALSE(menu.isItemEnabled(1));
        press(Qt::Key_F3);
    });
    QMetaObject::invokeMethod(list.get(), "showContentMenu", Q_ARG(QListBoxItem*, listBox->item(0)),
                              Q_ARG(QPoint, QPoint()));
}

TEST_F(RowMenu, OpensByItsKeyByALongPressAndByTheRightButtonOnTheRowTouched)
{
    openList();
    const auto opening = [this](const std::function<void()>& touch) {
        bool opened = false;
        {
            const auto looked = onceOpen<QPopupMenu>([&opened](QPopupMenu& menu) {
                opened = menu.text(CONNECT) == "Connect";
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
    EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), list.get()) << "none of them is a click";
    EXPECT_EQ(listBox->findChildren<QPopupMenu*>().size(), 3) << "each stays as long as the list does";
}

TEST_F(RowMenu, OpensAtThePlaceThatWasTouched)
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

TEST_F(RowMenu, AsksAboutTheRowTouchedAndActsOnTheCurrentOne)
{
    play("status:2");
    openList();
    goToRow(2);
    {
        const auto chosen = onceOpen<QPopupMenu>([](QPopupMenu&) { chooseEntry("Disconnect"); });
        const BoxAnswers answers({Qt::Key_F1});
        QMetaObject::invokeMethod(list.get(), "showContentMenu", Q_ARG(QListBoxItem*, listBox->item(0)),
                                  Q_ARG(QPoint, QPoint()));
    }
    ASSERT_TRUE(daemon().waitForRequests(2));
    EXPECT_EQ(requests(), QList<int>({3, 1}));
    EXPECT_STREQ(daemon().requests()[0].name, "Profile0");
    EXPECT_STREQ(daemon().requests()[1].name, "Profile2");
}

TEST_F(RowMenu, ActsOnTheRowThatIsCurrentWhenAnEntryIsChosen)
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
        QMetaObject::invokeMethod(list.get(), "contentMenuItemActivated", Q_ARG(int, id));
    EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), list.get());
    EXPECT_EQ(rows(), QStringList({"A", "B", "C"}));
}

TEST_F(RowMenu, SetsTheDefaultAndShowsIt)
{
    SETUP_SIP_Agent::instance()->setDefaultProfile("A");
    openList();
    goToRow(1);
    chooseInRowMenu("Set as default");
    EXPECT_TRUE(isDefault("B"));
    const QPixmap mark = static_cast<UTIL_ListBoxItem*>(listBox->item(1))->pixmap(0);
    EXPECT_EQ(mark.toImage(), RES_ICON_Reader().getIcon("Network_Connection.gif").toImage());
    EXPECT_TRUE(static_cast<UTIL_ListBoxItem*>(listBox->item(0))->pixmap(0).isNull());
    keepPicture("list-default");
}

TEST_F(RowMenu, KeepsNoSelectionWhenTheListIsShownAnew)
{
    openList();
    goToRow(2);
    chooseInRowMenu("Set as default");
    EXPECT_EQ(listBox->currentItem(), 0);
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

TEST_F(RowMenu, ConnectsAProfileThatNeedsNoCredentialsAtOnce)
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
    EXPECT_EQ(dismissNotice(), QList<ShownBox>({CONNECTED}));
    EXPECT_EQ(requests(), QList<int>({3, 0}));
    EXPECT_EQ(lastName(), "Profile1");
    EXPECT_EQ(listBox->item(1), row) << "the list shows no connections and stays as it is";
    EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), list.get());
    EXPECT_EQ(entriesOfRowMenu()[0], "0 Disconnect");
}

TEST_F(RowMenu, TellsEachOutcomeOfAConnect)
{
    const QList<ShownBox> notices = {CONNECTED, FAILED, UNAVAILABLE, INCORRECT, FAILED};
    openList();
    for (int ack = 0; ack < 5; ++ack) {
        play("connect-ack:" + std::to_string(ack));
        chooseInRowMenu("Connect");
        EXPECT_EQ(dismissNotice(), QList<ShownBox>({notices[ack]})) << ack;
        EXPECT_EQ(entriesOfRowMenu()[0], ack == 0 ? "0 Disconnect" : "0 Connect") << ack;
    }
}

TEST_F(RowMenu, TellsEachOutcomeOfADisconnect)
{
    const QList<ShownBox> notices = {DISCONNECTED, FAILED, UNAVAILABLE, INCORRECT, FAILED};
    openList();
    for (uint32_t ack = 0; ack < 5; ++ack) {
        Scenario scenario;
        scenario.status = SIPD_PROFILE_CONNECTED;
        scenario.disconnectAck = ack;
        playScenario(scenario);
        {
            const BoxAnswers answers({Qt::Key_F1});
            chooseInRowMenu("Disconnect");
            EXPECT_EQ(answers.boxes(), QList<ShownBox>({DISCONNECT_QUESTION}));
        }
        ASSERT_NE(open<SETUP_SIP_ConnectDlg>(), nullptr);
        EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->labelText(), "Disconnecting...");
        EXPECT_EQ(open<SETUP_SIP_ConnectDlg>()->parentWidget(), list.get());
        EXPECT_EQ(dismissNotice(), QList<ShownBox>({notices[ack]})) << ack;
        EXPECT_EQ(requests(), QList<int>({3, 1}));
    }
}

TEST_F(RowMenu, DisconnectsNothingOnCancel)
{
    play("status:2");
    openList();
    const BoxAnswers answers({Qt::Key_F3});
    chooseInRowMenu("Disconnect");
    EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), list.get());
    EXPECT_EQ(requests(), QList<int>({3}));
}

TEST_F(RowMenu, ConnectsAProfileWhileAnotherIsConnectedWithoutAQuestion)
{
    play("admit");
    openList();
    chooseInRowMenu("Connect");
    EXPECT_EQ(dismissNotice(), QList<ShownBox>({CONNECTED}));
    goToRow(1);
    chooseInRowMenu("Connect");
    EXPECT_EQ(dismissNotice(), QList<ShownBox>({CONNECTED}));
    EXPECT_EQ(requests(), QList<int>({3, 0, 3, 0}));
}

TEST_F(RowMenu, AsksForCredentialsWithWhatWasTypedLastForAnyProfile)
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
    press(Qt::Key_F2);
    EXPECT_EQ(dismissNotice(), QList<ShownBox>({CONNECTED}));
    EXPECT_EQ(lastName(), "Profile4");
}

TEST_F(RowMenu, OpensThePromptWithRememberTickedAsItWasLast)
{
    store(guardedRecord("D"));
    openList();
    goToRow(3);
    for (const bool remember : {true, false}) {
        SETUP_SIP_Agent::saveLastInputUserIDPassword("me", "", remember);
        chooseInRowMenu("Connect");
        auto* prompt = open<SETUP_SIP_UserIDAndPasswordDlg>();
        ASSERT_NE(prompt, nullptr);
        EXPECT_EQ(prompt->findChild<QCheckBox*>()->isChecked(), remember);
        press(Qt::Key_F3);
    }
}

TEST_F(RowMenu, OpensANewPromptEvenWhileOneIsHeld)
{
    store(guardedRecord("D"));
    for (const bool secondAnswers : {false, true}) {
        openList();
        goToRow(3);
        const auto connect = [this] {
            QMetaObject::invokeMethod(list.get(), "contentMenuItemActivated", Q_ARG(int, CONNECT));
            return QPointer(open<SETUP_SIP_UserIDAndPasswordDlg>());
        };
        const auto first = connect();
        const auto second = connect();
        ASSERT_NE(second, nullptr);
        ASSERT_NE(first, second);
        QMetaObject::invokeMethod(secondAnswers ? second : first, "slotQuit");
        EXPECT_EQ(second, nullptr) << "it is the one that the list holds";
        ASSERT_EQ(open<SETUP_SIP_UserIDAndPasswordDlg>(), first);
        type("x");
        press(Qt::Key_F3);
        EXPECT_NE(first, nullptr);
        closeAll();
    }
}

TEST_F(RowMenu, EndsTheAttemptSilentlyWhenThePromptIsLeft)
{
    play("admit");
    store(guardedRecord("D"));
    openList();
    goToRow(3);
    chooseInRowMenu("Connect");
    press(Qt::Key_Escape);
    EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), list.get());
    chooseInRowMenu("Connect");
    fillPrompt("me", "wrong");
    const BoxAnswers answers({Qt::Key_F1, Qt::Key_F3});
    press(Qt::Key_F2);
    EXPECT_NE(open<SETUP_SIP_UserIDAndPasswordDlg>(), nullptr);
    press(Qt::Key_F2);
    EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), list.get());
    EXPECT_EQ(requests(), QList<int>({3, 3}));
}

TEST_F(RowMenu, ComesBackToTheListWhenAConnectIsCancelled)
{
    play("late:60000");
    openList();
    chooseInRowMenu("Connect");
    press(Qt::Key_F3);
    EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), list.get());
    EXPECT_EQ(entriesOfRowMenu()[0], "0 Connect");
}

TEST_F(RowMenu, ComesBackToTheListWhenTheRequestCannotBeSent)
{
    play("admit");
    openList();
    const OnceConnectDlgShows daemonGoes([this] { stopDaemon(); });
    chooseInRowMenu("Connect");
    EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), list.get());
    EXPECT_TRUE(list->findChildren<SETUP_SIP_ConnectDlg*>().isEmpty());
}

TEST_F(RowMenu, OpensANewConnectDialogEvenWhileOneIsHeld)
{
    play("late:60000");
    openList();
    goToRow(0);
    const auto connect = [this] {
        QMetaObject::invokeMethod(list.get(), "contentMenuItemActivated", Q_ARG(int, CONNECT));
        return QPointer(open<SETUP_SIP_ConnectDlg>());
    };
    const auto first = connect();
    const auto second = connect();
    ASSERT_NE(second, nullptr);
    ASSERT_NE(first, second);
    emit first->connectDone(false);
    EXPECT_EQ(second, nullptr) << "it is the one that the list holds";
    EXPECT_EQ(open<SETUP_SIP_ConnectDlg>(), first);
}

TEST_F(RowMenu, IsDoneByPointerToo)
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
    click(static_cast<UTIL_CST*>(prompt->getCSTWidget())->getMidBtn());
    const auto tapped = onceOpen<OrmuMessageBox>([](OrmuMessageBox& box) { click(&box); });
    finishConnecting();
    EXPECT_EQ(requests(), QList<int>({3, 0}));
}

// The moments at which the host may delete the list screen, and what the user does in what is left.

TEST_F(RowMenu, MayBeDeletedWhileTheRowMenuIsOpen)
{
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
        openList();
        const auto deleted = onceOpen<QPopupMenu>([this, key](QPopupMenu&) {
            list.reset();
            press(key);
        });
        press(Qt::Key_Menu);
        EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), nullptr);
    }
}

TEST_F(RowMenu, MayBeDeletedWhileAQuestionIsOpen)
{
    play("status:2");
    for (const char* entry : {"Delete Profile", "Disconnect"}) {
        for (const Qt::Key key : {Qt::Key_F1, Qt::Key_F3}) {
            openList();
            const auto deleted = onceOpen<OrmuMessageBox>([this, key](OrmuMessageBox&) {
                list.reset();
                press(key);
            });
            chooseInRowMenu(entry);
            EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), nullptr);
            EXPECT_TRUE(exists("A"));
            EXPECT_TRUE(!requests().contains(1));
        }
    }
}

TEST_F(RowMenu, MayBeDeletedWhileTheConnectDialogIsOpen)
{
    play("late:60000");
    openList();
    chooseInRowMenu("Connect");
    const QPointer<SETUP_SIP_ConnectDlg> dialog = open<SETUP_SIP_ConnectDlg>();
    ASSERT_NE(dialog, nullptr);
    list.reset();
    EXPECT_EQ(dialog, nullptr) << "it is the list's child";
    EXPECT_TRUE(daemon().waitForClosed(2)) << "and its connection with it";
}

TEST_F(RowMenu, MayBeDeletedWhileANoticeIsShown)
{
    for (const char* scenario : {"ack:0", "ack:1"}) {
        play(scenario);
        openList();
        chooseInRowMenu("Connect");
        const auto deleted = onceOpen<OrmuMessageBox>([this](OrmuMessageBox&) {
            list.reset();
            press(Qt::Key_F2);
        });
        finishConnecting();
        EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), nullptr);
    }
}

TEST_F(RowMenu, MayBeDeletedWhileTheDeleteDialogIsOpen)
{
    openList();
    const auto deleted = onceOpen<QDialog>([this](QDialog&) {
        list.reset();
        press(Qt::Key_F1);
    });
    chooseInMenu("Delete Profiles");
    EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), nullptr);
}

TEST_F(RowMenu, LeavesAPromptThatAnswersNobody)
{
    play("admit");
    store(guardedRecord("D"));
    openList();
    goToRow(3);
    chooseInRowMenu("Connect");
    const QPointer<SETUP_SIP_UserIDAndPasswordDlg> prompt = open<SETUP_SIP_UserIDAndPasswordDlg>();
    list.reset();
    ASSERT_EQ(open<SETUP_SIP_UserIDAndPasswordDlg>(), prompt);
    fillPrompt("me", "wrong");
    {
        const BoxAnswers answers({Qt::Key_F1});
        press(Qt::Key_F2);
    }
    fillPrompt("me", "secret");
    press(Qt::Key_F2);
    press(Qt::Key_F3);
    EXPECT_NE(prompt, nullptr);
    EXPECT_EQ(requests(), QList<int>({3})) << "nobody connects";
}

TEST_F(RowMenu, LeavesAnEditScreenThatStillSaves)
{
    openList();
    chooseInMenu("New Profile");
    const QPointer<SETUP_SIP_ProfileEdit> edit = open<SETUP_SIP_ProfileEdit>();
    list.reset();
    ASSERT_EQ(open<SETUP_SIP_ProfileEdit>(), edit);
    for (const char* text : {"new", "server", ""}) {
        type(text);
        press(Qt::Key_Down);
    }
    type("user");
    press(Qt::Key_Down);
    type("password");
    press(Qt::Key_F2);
    EXPECT_TRUE(exists("new"));
    EXPECT_NE(edit, nullptr);
}

TEST_F(RowMenu, LeavesADetailScreenThatStillWorks)
{
    play("admit");
    store(guardedRecord("D"));
    openList();
    goToRow(3);
    press(Qt::Key_Return);
    const QPointer<SETUP_SIP_ProfileDetail> detail = open<SETUP_SIP_ProfileDetail>();
    list.reset();
    ASSERT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    press(Qt::Key_F2);
    EXPECT_TRUE(isDefault("D"));

    chooseInMenu("Connect");
    fillPrompt("me", "secret");
    press(Qt::Key_F2);
    EXPECT_EQ(dismissNotice(), QList<ShownBox>({CONNECTED}));

    chooseInMenu("Edit");
    press(Qt::Key_Down);
    type("2");
    {
        const BoxAnswers answers({Qt::Key_F1});
        press(Qt::Key_F2);
    }
    EXPECT_EQ(dismissNotice(), QList<ShownBox>({CONNECTED}));

    const BoxAnswers answers({Qt::Key_F1});
    chooseInMenu("Delete Profile");
    EXPECT_FALSE(exists("D"));
    press(Qt::Key_F3);
    EXPECT_NE(detail, nullptr) << "nobody is there to delete it";
}

TEST_F(RowMenu, MayBeDeletedWhileADetailScreenIsAboutToGo)
{
    openList();
    press(Qt::Key_Return);
    const QPointer<SETUP_SIP_ProfileDetail> detail = open<SETUP_SIP_ProfileDetail>();
    emit detail->detailDone(true);
    list.reset();
    QCoreApplication::processEvents();
    EXPECT_NE(detail, nullptr);
    press(Qt::Key_F3);
}

using RowMenuDeath = RowMenu;

TEST_F(RowMenuDeath, AbortsOnUnknownMenuIds)
{
    openList();
    listBox->setCurrentItem(0);
    for (const char* slot : {"menuItemActivated", "contentMenuItemActivated"})
        for (const int id : {-1, 3, 1000})
            EXPECT_EXIT(QMetaObject::invokeMethod(list.get(), slot, Q_ARG(int, id)),
                        testing::KilledBySignal(SIGABRT),
                        "[{]1[}] SETUP_SIP_ProfileList[.]cpp:[0-9]+\tormu assert failed !\n\n");
    EXPECT_EXIT(QMetaObject::invokeMethod(list.get(), "menuItemActivated", Q_ARG(int, 2)),
                testing::KilledBySignal(SIGABRT), "ormu assert failed !");
}

TEST_F(RowMenuDeath, AbortsWhenTheDaemonIsGoneWhenTheConnectionIsMade)
{
    openList();
    listBox->setCurrentItem(0);
    EXPECT_EXIT(QMetaObject::invokeMethod(list.get(), "contentMenuItemActivated", Q_ARG(int, CONNECT)),
                testing::KilledBySignal(SIGABRT),
                "[{]1[}] SIP_COMM_Controler[.]cpp:[0-9]+\tormu assert failed !\n\n");
}

} // namespace
