#include "DaemonTest.h"
#include "OrmuMessageBox.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileDelConfirmDlg.h"
#include "SETUP_SIP_ProfileDetail.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_ProfileList.h"
#include "SETUP_SIP_ProfileSelectDlg.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "SettingsFixture.h"
#include "UTIL_DlgCST.h"
#include "UTIL_ListBox.h"

#include <utility>

namespace {

// What the toolkit was asked to show.
QStringList calls;

QString shown(const QWidget* parent)
{
    return parent == nullptr ? "no parent" : "a parent";
}

QString shown(const QString& text)
{
    return text.isNull() ? "null" : '"' + text + '"';
}

} // namespace

// In place of the toolkit's own, which wait for the user.

OrmuMessageBox::OrmuMessageBox(QWidget* parent, const QPixmap&, const QString& text, const QString& button0,
                               const QString& button1, const QString& button2, int last)
    : OrmuBaseDialog(parent, nullptr, 0)
{
    calls += QString("box(%1, %2, %3, %4, %5, %6)")
                 .arg(shown(parent), shown(text), shown(button0), shown(button1), shown(button2))
                 .arg(last);
}

int OrmuMessageBox::exec()
{
    return 1;
}

void OrmuMessageBox::timerMessage(QWidget* parent, const QPixmap&, const QString& text, int first, int second)
{
    calls += QString("timerMessage(%1, %2, %3, %4)").arg(shown(parent), shown(text)).arg(first).arg(second);
}

int OrmuMessageBox::timerInformation(QWidget* parent, const QPixmap&, const QString& text, int first,
                                     const QString& button0, const QString& button1, const QString& button2,
                                     int last)
{
    calls += QString("timerInformation(%1, %2, %3, %4, %5, %6, %7)")
                 .arg(shown(parent), shown(text))
                 .arg(first)
                 .arg(shown(button0), shown(button1), shown(button2))
                 .arg(last);
    return 0;
}

int OrmuMessageBox::information(QWidget* parent, const QPixmap&, const QString& text, const QString& button0,
                                const QString& button1, const QString& button2, int last)
{
    calls += QString("information(%1, %2, %3, %4, %5, %6)")
                 .arg(shown(parent), shown(text), shown(button0), shown(button1), shown(button2))
                 .arg(last);
    return 0;
}

// These do what the toolkit's do, and tell their arguments.

UTIL_Dialog::UTIL_Dialog(DialogType type, bool flag, QWidget* parent, const char* name, int number,
                         unsigned int flags)
    : OrmuBaseDialog(parent, name, flags)
{
    calls +=
        QString("dialog(%1, %2, %3, %4, %5)").arg(type).arg(flag).arg(shown(parent)).arg(number).arg(flags);
}

UTIL_DlgCST::UTIL_DlgCST(QWidget* parent, DlgCstType type) : UTIL_CST(parent, QString(), QString(), QString())
{
    calls += QString("keys(%1, %2)").arg(shown(parent)).arg(type);
}

namespace {

class Notices : public DaemonTest, protected SettingsDirectory
{
protected:
    ~Notices() override { SETUP_SIP_Agent::cleanup(); }

    // What the dialog asks the toolkit for at that ack.
    static QStringList callsAt(_SIPD_APP_ACK_E ack, SETUP_SIP_ConnectDlg::Operation operation)
    {
        QWidget opener;
        QString profile("A");
        SETUP_SIP_ConnectDlg dialog(operation, profile, &opener, nullptr);
        dialog.processResult(ack);
        return std::exchange(calls, {});
    }
};

TEST_F(Notices, ReachTheToolkitWithoutAParentAndWithTheirNumbers)
{
    EXPECT_EQ(callsAt(SIPD_ACK_SUCCESS, SETUP_SIP_ConnectDlg::OP_CONNECT),
              QStringList({R"(timerMessage(no parent, "connect to server successfully", 1, 1))"}));
    EXPECT_EQ(callsAt(SIPD_ACK_SUCCESS, SETUP_SIP_ConnectDlg::OP_DISCONNECT),
              QStringList({R"(timerMessage(no parent, "disconnect from server successfully", 1, 1))"}));
    const std::pair<_SIPD_APP_ACK_E, const char*> failures[] = {
        {SIPD_ACK_FAILED, "Failed to connect to server"},
        {SIPD_ACK_SERVICE_UNAVAILABLE, "Service is not available"},
        {SIPD_ACK_INCORRECT_PROFILE, "Incorrect profile\nfailed to connect to server"},
        {SIPD_ACK_CONNECT_FAILED, "Failed to connect to server"}};
    for (const auto& [ack, text] : failures)
        EXPECT_EQ(
            callsAt(ack, SETUP_SIP_ConnectDlg::OP_RECONNECT),
            QStringList({QString(R"(timerInformation(no parent, "%1", 2, "OK", null, null, 1))").arg(text)}));
}

TEST_F(Notices, OfARefusedSaveReachTheToolkitInTheSameWay)
{
    QWidget opener;
    SETUP_SIP_ProfileEdit screen(QString(), &opener);
    QMetaObject::invokeMethod(&screen, "slotSave");
    EXPECT_EQ(std::exchange(calls, {}),
              QStringList({R"(information(no parent, "Some required value is not input, input again.", )"
                           R"("OK", null, null, 1))"}));
}

TEST_F(Notices, ThatAskReachTheToolkitWithoutAParentToo)
{
    SIP_PROFILE_CONTENT record;
    record.displayName = "A";
    SETUP_SIP_Agent::instance()->setProfileInfo(record, "A");
    play("status:2");
    QWidget opener;
    const auto asked = [](const char* question, const char* first = "OK") {
        return QStringList(QString(R"(box(no parent, "%1", "%2", "Cancel", null, 1))").arg(question, first));
    };

    SETUP_SIP_ProfileDetail detail("A", &opener);
    const auto choose = [&detail](int id) {
        QMetaObject::invokeMethod(&detail, "menuItemActivated", Q_ARG(int, id));
        return std::exchange(calls, {});
    };
    EXPECT_EQ(choose(0), asked("Disconnect current connection?"));
    EXPECT_EQ(choose(2), asked("Delete the profile?"));
    QMetaObject::invokeMethod(&detail, "editDone", Q_ARG(bool, true));
    EXPECT_EQ(std::exchange(calls, {}), asked("Do you want to re-connect this profile?"));

    SETUP_SIP_ProfileEdit edit(QString(), &opener);
    QMetaObject::invokeMethod(&edit, "textChanged");
    QMetaObject::invokeMethod(&edit, "slotQuit");
    EXPECT_EQ(std::exchange(calls, {}), asked("Exit without saving?"));

    QString user("me");
    QString password;
    SETUP_SIP_UserIDAndPasswordDlg prompt(user, password, false, record, &opener);
    QMetaObject::invokeMethod(&prompt, "slotOK");
    EXPECT_EQ(std::exchange(calls, {}), asked("Incorrect User name", "Retry"));

    SETUP_SIP_ProfileList list(&opener);
    list.createScreen();
    list.findChild<UTIL_ListBox*>()->setCurrentItem(0);
    QMetaObject::invokeMethod(&list, "contentMenuItemActivated", Q_ARG(int, 2));
    EXPECT_EQ(std::exchange(calls, {}), asked("Delete the profile?"));
}

TEST_F(Notices, AndDialogsAreOfTheKindsThatTheToolkitKnowsByNumber)
{
    const QStringList expected = {"dialog(0, 0, no parent, 1, 0)", "keys(a parent, 1)"};
    const SETUP_SIP_ProfileDelConfirmDlg deleteDialog;
    EXPECT_EQ(std::exchange(calls, {}), expected);
    QString profile;
    const SETUP_SIP_ProfileSelectDlg selectDialog(profile, nullptr, nullptr);
    EXPECT_EQ(std::exchange(calls, {}), expected);
}

} // namespace
