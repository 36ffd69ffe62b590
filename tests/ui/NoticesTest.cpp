#include "DaemonTest.h"
#include "OrmuMessageBox.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SettingsFixture.h"

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

} // namespace
