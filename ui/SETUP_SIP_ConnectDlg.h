// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETUP_SIP_CONNECTDLG_H
#define SETUP_SIP_CONNECTDLG_H

#include "SIP_COMM_Controler.h"
#include "UTIL_ProgressDialog.h"

class QTimer;

// Shows the progress while the SIP daemon connects, disconnects or reconnects one profile, and then the
// outcome. The progress bar starts again every 10 seconds until the daemon answers or the user cancels.
//
// It never hides or deletes itself: the opener deletes it on connectDone(), which may be inside the connected
// slot.
class SETUP_SIP_ConnectDlg : public UTIL_ProgressDialog
{
    Q_OBJECT

public:
    enum Operation { OP_CONNECT = 0, OP_DISCONNECT = 1, OP_RECONNECT = 2 };

    // profile: a display name; a name that no profile has is used as a group name. It is not changed.
    // Connects to the daemon. Blocks without a time limit until the daemon accepts or refuses.
    SETUP_SIP_ConnectDlg(Operation op, QString& profile, QWidget* parent, const char* name);
    ~SETUP_SIP_ConnectDlg() override;

    // Sends the request and starts to wait for the answer. Call it once, after connecting connectDone(): when
    // the request cannot be sent, connectDone(false) is emitted before this returns. Aborts the process when
    // the constructor got no connection, because no daemon runs or it refused.
    void startConnect();

    // Shows the outcome for ack, then emits connectDone(). After the successful disconnect of a reconnect it
    // sends the connect request instead. Aborts the process for an undefined ack.
    void processResult(_SIPD_APP_ACK_E ack);

signals:
    // Emitted once for each attempt. ok: the daemon did it; false after a failure or Cancel.
    void connectDone(bool ok);

protected slots:
    void slotProgress();
    void slotCancelled();

private:
    bool answerIsThere() const;
    void showSuccess(const QString& text);
    void showFailure(const QString& text);

    _SIP_COMM_PROFILE_CONTROL_S* controller = nullptr;
    QTimer* timer;
    Operation operation;
    QString profileName; // the group name: the daemon knows profiles by it
};

#endif
