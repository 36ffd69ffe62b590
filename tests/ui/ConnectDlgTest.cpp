// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "LastSelect.h"
#include "OrmuMainWidget.h"
#include "OrmuMessageBox.h"
#include "OrmuPushButton.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "ScreenTest.h"
#include "SipdWire.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTimer>

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {
using Operation = SETUP_SIP_ConnectDlg::Operation;
static_assert(SETUP_SIP_ConnectDlg::OP_CONNECT == 0 && SETUP_SIP_ConnectDlg::OP_DISCONNECT == 1 &&
              SETUP_SIP_ConnectDlg::OP_RECONNECT == 2);
const char ASSERTION[] = "[{]1[}] SETUP_SIP_ConnectDlg[.]cpp:[0-9]+\tormu assert failed !\n\n";

// The dialog over a screen for the profile "A" of the group Profile1. It is deleted when it is done.
class ConnectDlg : public ScreenTest
{
protected:
    static constexpr Operation CONNECT = SETUP_SIP_ConnectDlg::OP_CONNECT;
    static constexpr Operation DISCONNECT = SETUP_SIP_ConnectDlg::OP_DISCONNECT;
    static constexpr Operation RECONNECT = SETUP_SIP_ConnectDlg::OP_RECONNECT;

    ConnectDlg()
    {
        storeProfiles({"other", "A"});
        screen = std::make_unique<OrmuMainWidget>();
        screen->show();
    }
    ~ConnectDlg() override { screen.reset(); }

    SETUP_SIP_ConnectDlg* make(Operation operation, QString profile = "A")
    {
        results.clear();
        const QString given = profile;
        dialog = new SETUP_SIP_ConnectDlg(operation, profile, screen.get(), nullptr);
        EXPECT_EQ(profile, given);
        QObject::connect(dialog, &SETUP_SIP_ConnectDlg::connectDone, screen.get(), [this](bool ok) {
            results += ok;
            delete dialog;
        });
        return dialog;
    }

    SETUP_SIP_ConnectDlg* begin(Operation operation)
    {
        make(operation);
        dialog->show();
        dialog->startConnect();
        return dialog;
    }

    // Runs one attempt to its end, and dismisses its notice.
    QList<ShownBox> attempt(Operation operation, const QString& scenario)
    {
        play(scenario.toStdString());
        begin(operation);
        return dismissNotice();
    }

    std::unique_ptr<OrmuMainWidget> screen;
    QPointer<SETUP_SIP_ConnectDlg> dialog;
    QList<bool> results;
};

TEST_F(ConnectDlg, OpensModelessWithTenStepsAndAnIdleTimer)
{
    play("admit");
    for (const auto& [operation, label] :
         {std::pair(CONNECT, "Connecting..."), std::pair(DISCONNECT, "Disconnecting..."),
          std::pair(RECONNECT, "Reconnecting...")}) {
        make(operation)->show();
        EXPECT_EQ(dialog->labelText(), label);
        EXPECT_EQ(dialog->findChild<QProgressBar*>()->maximum(), 10);
        EXPECT_EQ(dialog->progress(), 0);
        EXPECT_FALSE(dialog->isModal());
        EXPECT_EQ(dialog->findChild<OrmuPushButton*>("right")->text(), "Cancel");
        ASSERT_NE(timerOf(dialog), nullptr);
        EXPECT_FALSE(timerOf(dialog)->isActive());
        delete dialog;
    }
}

TEST_F(ConnectDlg, SendsOnlyARegistrationWhenItIsMade)
{
    play("admit");
    make(CONNECT);
    ASSERT_EQ(daemon().messages().size(), 1u);
    EXPECT_EQ(daemon().messages()[0].type, SIPD_MSG_REGISTER);
    EXPECT_EQ(daemon().messages()[0].appId, SIPD_APPID_SETUP);
    delete dialog;
    EXPECT_TRUE(daemon().waitForClosed(1));
    EXPECT_EQ(daemon().messages().size(), 1u);
}

TEST_F(ConnectDlg, SendsTheRequestForTheProfilesGroup)
{
    play("never-answer");
    QList<int> expected;
    for (const auto& [operation, request] :
         {std::pair(CONNECT, 0), std::pair(DISCONNECT, 1), std::pair(RECONNECT, 1)}) {
        begin(operation);
        expected += request;
        ASSERT_TRUE(daemon().waitForRequests(static_cast<size_t>(expected.size())));
        EXPECT_EQ(requests(), expected);
        EXPECT_STREQ(daemon().requests().back().name, "Profile1");
        EXPECT_EQ(daemon().requests().back().appId, 0u);
        EXPECT_EQ(daemon().requests().back().status, 0u);
        delete dialog;
    }
}

TEST_F(ConnectDlg, SendsAnUnknownNameAsAGroupInLatin1)
{
    play("never-answer");
    make(CONNECT, QString::fromUtf8("Büro"))->startConnect();
    ASSERT_TRUE(daemon().waitForRequests(1));
    EXPECT_STREQ(daemon().requests()[0].name, "B\xfcro");
}

TEST_F(ConnectDlg, LooksForTheAckOnceASecond)
{
    play("admit");
    const BoxAnswers answers({Qt::Key_F2});
    QElapsedTimer clock;
    clock.start();
    begin(CONNECT);
    EXPECT_EQ(timerOf(dialog)->interval(), 1000);
    EXPECT_FALSE(timerOf(dialog)->isSingleShot());
    EXPECT_EQ(timerOf(dialog)->parent(), dialog);
    int ticks = 0;
    QObject::connect(timerOf(dialog), &QTimer::timeout, screen.get(), [&ticks] { ++ticks; });
    ASSERT_TRUE(daemon().waitForRequests(1));
    ASSERT_TRUE(waitFor([this] { return dialog == nullptr; }));
    EXPECT_GE(clock.elapsed(), 950);
    EXPECT_LE(ticks, 1) << "the first tick reads an ack that is there";
    EXPECT_EQ(answers.boxes(), QList<ShownBox>({CONNECTED}));
}

TEST_F(ConnectDlg, FillsItsBarInTenTicksAndStartsAgain)
{
    play("never-answer");
    begin(CONNECT);
    QList<int> shown;
    QObject::connect(timerOf(dialog), &QTimer::timeout, dialog,
                     [this, &shown] { shown += dialog->progress(); });
    timerOf(dialog)->setInterval(1);
    ASSERT_TRUE(waitFor([&shown] { return shown.size() >= 23; }));
    EXPECT_EQ(shown.mid(0, 23),
              QList<int>({1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 1, 2, 3}));
    EXPECT_TRUE(timerOf(dialog)->isActive());
    EXPECT_EQ(results, QList<bool>());
}

TEST_F(ConnectDlg, ShowsANoticeOfEachOutcomeAndThenReportsIt)
{
    const ShownBox failures[] = {FAILED, UNAVAILABLE, INCORRECT, FAILED};
    const auto expectOutcome = [this](Operation operation, const QString& scenario, const ShownBox& notice) {
        SCOPED_TRACE(testing::Message() << operation << " " << scenario.toStdString());
        EXPECT_EQ(attempt(operation, scenario), QList{notice});
        EXPECT_EQ(results, QList{notice == CONNECTED || notice == DISCONNECTED});
    };
    expectOutcome(CONNECT, "ack:0", CONNECTED);
    expectOutcome(DISCONNECT, "ack:0", DISCONNECTED);
    expectOutcome(RECONNECT, "ack:0", CONNECTED);
    for (int ack = 1; ack <= 4; ++ack) {
        for (const auto& [operation, scenario] :
             {std::pair(CONNECT, "ack:%1"), std::pair(DISCONNECT, "ack:%1"),
              std::pair(RECONNECT, "disconnect-ack:%1"), std::pair(RECONNECT, "connect-ack:%1")})
            expectOutcome(operation, QString(scenario).arg(ack), failures[ack - 1]);
        EXPECT_EQ(requests(), QList<int>({1, 0}));
    }
    attempt(RECONNECT, "disconnect-ack:2");
    EXPECT_EQ(requests(), QList<int>({1})) << "no connect after a disconnect that failed";
}

TEST_F(ConnectDlg, ReportsAfterTheNoticeHasClosed)
{
    play("ack:3");
    begin(CONNECT);
    QList<bool> before = {true};
    const auto notice = onceOpen<OrmuMessageBox>([this, &before](OrmuMessageBox&) {
        keepPicture("connect-incorrect-profile");
        before = results;
        EXPECT_NE(dialog, nullptr);
        EXPECT_FALSE(timerOf(dialog)->isActive());
        press(Qt::Key_5);
    });
    finishConnecting();
    EXPECT_EQ(before, QList<bool>());
    EXPECT_EQ(results, QList<bool>({false}));
}

TEST_F(ConnectDlg, ClosesItsNoticesByTime)
{
    play("admit");
    begin(CONNECT);
    const auto notice = onceOpen<OrmuMessageBox>([](OrmuMessageBox&) { keepPicture("connect-success"); });
    finishConnecting();
    EXPECT_EQ(results, QList<bool>({true}));
}

TEST_F(ConnectDlg, ReconnectsByADisconnectAndAConnect)
{
    play("admit");
    begin(RECONNECT);
    const auto notice = onceOpen<OrmuMessageBox>([this](OrmuMessageBox& box) {
        EXPECT_EQ(ShownBox(box), CONNECTED);
        EXPECT_EQ(dialog->labelText(), "Reconnecting...");
        press(Qt::Key_F2);
    });
    finishConnecting();
    EXPECT_EQ(requests(), QList<int>({1, 0}));
    EXPECT_EQ(daemon().accepted(), 1) << "both go over one connection";
    EXPECT_EQ(results, QList<bool>({true}));
}

TEST_F(ConnectDlg, TicksOnceASecondAfterTheDisconnectOfAReconnect)
{
    play("admit");
    begin(RECONNECT);
    timerOf(dialog)->setInterval(1);
    ASSERT_TRUE(waitFor([this] { return daemon().requests().size() == 2; }));
    EXPECT_TRUE(timerOf(dialog)->isActive());
    EXPECT_EQ(timerOf(dialog)->interval(), 1000);
    EXPECT_EQ(results, QList<bool>());
}

TEST_F(ConnectDlg, ReadsALateAckAtTheNextTick)
{
    play("never-answer");
    begin(CONNECT);
    int ticks = 0;
    QObject::connect(timerOf(dialog), &QTimer::timeout, dialog, [this, &ticks] {
        if (++ticks == 3)
            daemon().send(encodeAck(SIPD_ACK_SUCCESS));
    });
    EXPECT_EQ(dismissNotice(), QList{CONNECTED});
    EXPECT_GE(ticks, 3);
}

TEST_F(ConnectDlg, ReportsFalseOnceAfterCancel)
{
    play("never-answer");
    for (const SoftKey cancel : RIGHT_KEYS) {
        begin(CONNECT);
        press(cancel);
        EXPECT_EQ(dialog, nullptr);
        EXPECT_EQ(results, QList<bool>({false}));
        EXPECT_EQ(top(), screen.get());
    }
    EXPECT_TRUE(daemon().waitForClosed(3));
}

TEST_F(ConnectDlg, LeavesTheAckUnreadAfterCancel)
{
    play("never-answer");
    QString name("A");
    SETUP_SIP_ConnectDlg kept(CONNECT, name, screen.get(), nullptr);
    const QSignalSpy done(&kept, &SETUP_SIP_ConnectDlg::connectDone);
    kept.show();
    kept.startConnect();
    ASSERT_TRUE(daemon().waitForRequests(1));
    daemon().send(encodeAck(0));
    press(Qt::Key_F3);
    EXPECT_FALSE(timerOf(&kept)->isActive());
    ASSERT_EQ(done.count(), 1);
    EXPECT_EQ(done[0][0], false);
    EXPECT_TRUE(kept.isVisible()) << "it never hides itself";
    EXPECT_EQ(daemon().closed(), 0) << "the dialog's end closes the connection";
    // No second request goes out while the first one's ack is there.
    kept.startConnect();
    EXPECT_FALSE(timerOf(&kept)->isActive());
    ASSERT_EQ(done.count(), 2);
    EXPECT_EQ(done[1][0], false);
}

TEST_F(ConnectDlg, PollsOneDescriptorWithoutWaiting)
{
    play("never-answer");
    begin(CONNECT);
    lastSelect = {0, false, 0, {1, 1}};
    QMetaObject::invokeMethod(dialog, "slotProgress");
    EXPECT_TRUE(lastSelect.readAlone);
    EXPECT_EQ(lastSelect.inSet, 1);
    EXPECT_EQ(lastSelect.timeout.tv_sec, 0);
    EXPECT_EQ(lastSelect.timeout.tv_usec, 0);
    sockaddr_un peer{};
    socklen_t length = sizeof(peer);
    ASSERT_EQ(getpeername(lastSelect.fd(), reinterpret_cast<sockaddr*>(&peer), &length), 0);
    EXPECT_STREQ(peer.sun_path, "/tmp/sipd_us");
}

TEST_F(ConnectDlg, StepsItsBarAtTheTickThatReadsTheAck)
{
    play("never-answer");
    begin(CONNECT);
    const auto* bar = dialog->findChild<QProgressBar*>();
    QMetaObject::invokeMethod(dialog, "slotProgress");
    EXPECT_EQ(bar->value(), 1);
    daemon().send(encodeAck(1));
    ASSERT_TRUE(waitForAnswer());
    const auto look = onceOpen<OrmuMessageBox>([bar](OrmuMessageBox&) {
        EXPECT_EQ(bar->value(), 2);
        press(Qt::Key_F2);
    });
    QMetaObject::invokeMethod(dialog, "slotProgress");
    EXPECT_EQ(results, QList<bool>({false}));
}

TEST_F(ConnectDlg, EndsAReconnectAfterCancelInEitherHalf)
{
    play("never-answer");
    begin(RECONNECT);
    press(Qt::Key_F3);
    EXPECT_EQ(results, QList<bool>({false}));

    begin(RECONNECT);
    ASSERT_TRUE(daemon().waitForRequests(2));
    daemon().send(encodeAck(0));
    timerOf(dialog)->setInterval(1);
    ASSERT_TRUE(waitFor([this] { return daemon().requests().size() == 3; }));
    EXPECT_EQ(requests(), QList<int>({1, 1, 0}));
    press(Qt::Key_F3);
    EXPECT_EQ(results, QList<bool>({false}));
    EXPECT_EQ(dialog, nullptr);
}

TEST_F(ConnectDlg, IgnoresOtherKeysWhileItWaits)
{
    play("never-answer");
    begin(CONNECT);
    for (const Qt::Key key :
         {Qt::Key_F1, Qt::Key_F2, Qt::Key_Return, Qt::Key_Up, Qt::Key_Down, Qt::Key_Menu, Qt::Key_5})
        press(key);
    keepPicture("connecting");
    EXPECT_EQ(results, QList<bool>());
    EXPECT_TRUE(dialog->isVisible());
}

TEST_F(ConnectDlg, FailsWithoutANoticeWhenTheRequestCannotBeSent)
{
    for (const Operation operation : {CONNECT, DISCONNECT, RECONNECT}) {
        play("admit");
        make(operation)->show();
        stopDaemon();
        dialog->startConnect();
        EXPECT_EQ(dialog, nullptr);
        EXPECT_EQ(results, QList<bool>({false}));
        EXPECT_EQ(open<OrmuMessageBox>(), nullptr);
    }
}

TEST_F(ConnectDlg, FailsAtOnceWhileAnAckIsOutstanding)
{
    play("never-answer");
    begin(CONNECT)->startConnect();
    EXPECT_EQ(results, QList<bool>({false}));
    EXPECT_EQ(dialog, nullptr);
}

TEST_F(ConnectDlg, FailsWhenTheDaemonEndsWhileItWaits)
{
    play("never-answer");
    begin(CONNECT);
    ASSERT_TRUE(daemon().waitForRequests(1));
    stopDaemon();
    EXPECT_EQ(dismissNotice(), QList{FAILED});
    EXPECT_EQ(results, QList<bool>({false}));
}

TEST_F(ConnectDlg, FailsAgainAfterItsConnectionHasEnded)
{
    play("never-answer");
    QString name("A");
    SETUP_SIP_ConnectDlg kept(CONNECT, name, screen.get(), nullptr);
    const QSignalSpy done(&kept, &SETUP_SIP_ConnectDlg::connectDone);
    kept.startConnect();
    stopDaemon();
    const BoxAnswers answers({Qt::Key_F2, Qt::Key_F2});
    QMetaObject::invokeMethod(&kept, "slotProgress");
    QMetaObject::invokeMethod(&kept, "slotProgress");
    EXPECT_EQ(answers.boxes(), QList<ShownBox>({FAILED, FAILED}));
    kept.startConnect();
    EXPECT_FALSE(timerOf(&kept)->isActive());
    ASSERT_EQ(done.count(), 3);
    for (const auto& result : done)
        EXPECT_EQ(result[0], false);
}

TEST_F(ConnectDlg, FailsWhenTheAckCannotBeRead)
{
    // The registration's answer has 16 bytes, and so has the ack.
    QStringList scenarios = {"reset", "wrong-type:3", "wrong-type:0"};
    for (int sent = 17; sent < 32; ++sent)
        scenarios += QString("close-after:%1").arg(sent);
    for (const QString& scenario : scenarios) {
        SCOPED_TRACE(scenario.toStdString());
        EXPECT_EQ(attempt(CONNECT, scenario), QList{FAILED});
        EXPECT_EQ(results, QList<bool>({false}));
    }
    for (const char* scenario : {"single-bytes", "split-after:20"})
        EXPECT_EQ(attempt(CONNECT, scenario), QList{CONNECTED}) << "an ack in pieces is read";
}

TEST_F(ConnectDlg, EndsAReconnectWhenTheDaemonEndsBetweenItsHalves)
{
    play("close-after:32"); // after the ack of the first half
    begin(RECONNECT);
    boxesOf({}, [] { finishConnecting(); });
    EXPECT_EQ(results, QList<bool>({false}));
}

TEST_F(ConnectDlg, PollsADescriptorThatNoSetOfSelectHolds)
{
    rlimit former{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &former), 0);
    rlimit raised = former;
    constexpr int SETS = 3;
    raised.rlim_cur = SETS * FD_SETSIZE + 100;
    ASSERT_LE(raised.rlim_cur, former.rlim_max);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &raised), 0);
    std::vector<int> opened;
    while (opened.empty() || opened.back() < SETS * FD_SETSIZE)
        opened.push_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));

    play("never-answer");
    begin(CONNECT);
    int ticks = 0;
    QObject::connect(timerOf(dialog), &QTimer::timeout, dialog, [&ticks] { ++ticks; });
    timerOf(dialog)->setInterval(1);
    ASSERT_TRUE(waitFor([&ticks] { return ticks > 5; }));
    EXPECT_TRUE(timerOf(dialog)->isActive()) << "it waits as long as there is no ack";
    daemon().send(encodeAck(0));
    EXPECT_EQ(dismissNotice(), QList{CONNECTED});

    for (const int fd : opened)
        close(fd);
    setrlimit(RLIMIT_NOFILE, &former);
}

using ConnectDlgDeath = ConnectDlg;

TEST_F(ConnectDlgDeath, AbortsOnAnUndefinedAck)
{
    play("admit");
    make(CONNECT);
    for (const unsigned ack : {5U, 6U, 100U, 0xffffffffU})
        EXPECT_EXIT(dialog->processResult(static_cast<_SIPD_APP_ACK_E>(ack)),
                    testing::KilledBySignal(SIGABRT), ASSERTION);
}

TEST_F(ConnectDlgDeath, AbortsWhenTheDaemonSendsAnUndefinedAck)
{
    play("ack:5");
    // Not shown: the child process has no threads to paint.
    make(CONNECT);
    QMetaObject::invokeMethod(dialog, "slotProgress"); // sets lastSelect
    dialog->startConnect();
    ASSERT_TRUE(waitForAnswer());
    EXPECT_EXIT(QMetaObject::invokeMethod(dialog, "slotProgress"), testing::KilledBySignal(SIGABRT),
                ASSERTION);
}

// Without the daemon's thread: it might allocate memory just when the process forks, and the child would wait
// forever.
TEST_F(ConnectDlgDeath, AbortsOnAnUndefinedOperation)
{
    for (const int operation : {-1, 3})
        EXPECT_EXIT(make(static_cast<Operation>(operation)), testing::KilledBySignal(SIGABRT), ASSERTION);
}

TEST_F(ConnectDlgDeath, AbortsInStartConnectWithoutAConnection)
{
    make(CONNECT);
    EXPECT_EQ(dialog->labelText(), "Connecting...");
    EXPECT_EXIT(dialog->startConnect(), testing::KilledBySignal(SIGABRT), LINK_ASSERTION);
    delete dialog;
    play("refuse");
    make(RECONNECT);
    EXPECT_EXIT(dialog->startConnect(), testing::KilledBySignal(SIGABRT), LINK_ASSERTION);
}

} // namespace
