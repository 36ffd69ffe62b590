// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SETUP_SIP_ConnectDlg.h"

#include "ORMU_Diagnostics.h"
#include "OrmuMessageBox.h"
#include "RES_ICON_Reader.h"
#include "SETUP_SIP_Agent.h"

#include <QPointer>
#include <QTimer>

#include <sys/select.h>

#include <vector>

namespace {
constexpr int TOTAL_STEPS = 10;
constexpr int POLL_INTERVAL_MS = 1000;
} // namespace

SETUP_SIP_ConnectDlg::SETUP_SIP_ConnectDlg(Operation op, QString& profile, QWidget* parent, const char* name)
    : UTIL_ProgressDialog(QString(), tr("Cancel", "2.16.0;SOFTKEY_1BUTTON"), TOTAL_STEPS, parent, name, false,
                          0),
      operation(op), profileName(profile)
{
    setAutoReset(true);
    SETUP_SIP_Agent::instance()->getProfileGroupName(profile, profileName);
    SIP_COMM_ControlerConstruct(&controller);

    switch (op) {
    case OP_CONNECT:
        setLabelText(tr("Connecting...", "2.3.9.2.6;DIALOG_ICON_50_WARP"));
        break;
    case OP_DISCONNECT:
        setLabelText(tr("Disconnecting...", "2.3.9.2.6;DIALOG_ICON_50_WARP"));
        break;
    case OP_RECONNECT:
        setLabelText(tr("Reconnecting...", "2.3.9.2.6;DIALOG_ICON_50_WARP"));
        break;
    default:
        ORMU_ASSERT(false);
    }

    timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &SETUP_SIP_ConnectDlg::slotProgress);
    connect(this, &UTIL_ProgressDialog::cancelled, this, &SETUP_SIP_ConnectDlg::slotCancelled);
}

SETUP_SIP_ConnectDlg::~SETUP_SIP_ConnectDlg()
{
    SIP_COMM_ControlerDestruct(&controller);
}

void SETUP_SIP_ConnectDlg::startConnect()
{
    const QByteArray group = profileName.toLatin1();
    int result = 0;
    switch (operation) {
    case OP_CONNECT:
        result = SIP_COMM_ControlerProfileConnect(controller, group.constData());
        break;
    case OP_DISCONNECT:
    case OP_RECONNECT:
        result = SIP_COMM_ControlerProfileDisconnect(controller, group.constData());
        break;
    default:
        ORMU_ASSERT(false);
    }
    if (result == 0)
        timer->start(POLL_INTERVAL_MS);
    else
        emit connectDone(false);
}

bool SETUP_SIP_ConnectDlg::answerIsThere() const
{
    const int fd = SIP_COMM_ControlerGetFd(controller);
    if (fd < 0)
        return true; // an earlier read failed and closed the connection: the next read fails at once
    // A host may have more files open than one set holds, so the descriptor gets as many sets as it needs.
    std::vector<fd_set> readable(static_cast<size_t>(fd) / FD_SETSIZE + 1);
    FD_SET(fd % FD_SETSIZE, &readable.back());
    timeval noWait{};
    return select(fd + 1, readable.data(), nullptr, nullptr, &noWait) > 0;
}

void SETUP_SIP_ConnectDlg::slotProgress()
{
    setProgress(progress() + 1);
    if (!answerIsThere())
        return;
    timer->stop();
    _SIPD_APP_ACK_E ack{};
    if (SIP_COMM_ControlerGetAck(controller, &ack) != 0)
        ack = SIPD_ACK_FAILED;
    processResult(ack);
}

void SETUP_SIP_ConnectDlg::slotCancelled()
{
    timer->stop();
    emit connectDone(false);
}

void SETUP_SIP_ConnectDlg::processResult(_SIPD_APP_ACK_E ack)
{
    switch (ack) {
    case SIPD_ACK_SUCCESS:
        if (operation == OP_RECONNECT) {
            operation = OP_CONNECT;
            startConnect();
        } else if (operation == OP_CONNECT) {
            showSuccess(tr("connect to server successfully", "2.3.9.2.6;DIALOG_ICON_50_WARP"));
        } else {
            showSuccess(tr("disconnect from server successfully", "2.3.9.2.6;DIALOG_ICON_50_WARP"));
        }
        break;
    case SIPD_ACK_FAILED:
    case SIPD_ACK_CONNECT_FAILED:
        showFailure(tr("Failed to connect to server", "2.3.9.2.6;DIALOG_ICON_50_WARP"));
        break;
    case SIPD_ACK_SERVICE_UNAVAILABLE:
        showFailure(tr("Service is not available", "2.3.9.2.6;DIALOG_ICON_50_WARP"));
        break;
    case SIPD_ACK_INCORRECT_PROFILE:
        showFailure(tr("Incorrect profile", "2.3.9.2.6;DIALOG_ICON_50_WARP") + "\n" +
                    tr("failed to connect to server", "2.3.9.2.6;DIALOG_ICON_50_WARP"));
        break;
    default:
        ORMU_ASSERT(false);
    }
}

void SETUP_SIP_ConnectDlg::showSuccess(const QString& text)
{
    // The notice runs its own event loop, in which the host may delete the list screen and this child of it.
    const QPointer<SETUP_SIP_ConnectDlg> self(this);
    OrmuMessageBox::timerMessage(nullptr, RES_ICON_Reader().getIcon("Dialog_Complete.gif"), text, 1, 1);
    if (!self.isNull())
        emit connectDone(true);
}

void SETUP_SIP_ConnectDlg::showFailure(const QString& text)
{
    const QPointer<SETUP_SIP_ConnectDlg> self(this); // as above
    OrmuMessageBox::timerInformation(nullptr, RES_ICON_Reader().getIcon("Dialog_Exclamatory_Mark.gif"), text,
                                     2, tr("OK", "2.3.9.2.6;SOFTKEY_1BUTTON"), QString(), QString(), 1);
    if (!self.isNull())
        emit connectDone(false);
}

#include "moc_SETUP_SIP_ConnectDlg.cpp"
