#ifndef SETUP_SIP_CONNECTDLG_H
#define SETUP_SIP_CONNECTDLG_H

#include "SIP_COMM_Controler.h"
#include "UTIL_ProgressDialog.h"

class QTimer;

// Shows the progress while the SIP daemon connects, disconnects or reconnects one profile, and then the
// outcome. Its progress bar has no end of its own: it waits until the daemon answers or the user cancels.
//
// It never hides or deletes itself: whoever made it deletes it when it emits connectDone(), also inside the
// slot that answers the signal.
class SETUP_SIP_ConnectDlg : public UTIL_ProgressDialog
{
    Q_OBJECT

public:
    enum Operation { OP_CONNECT = 0, OP_DISCONNECT = 1, OP_RECONNECT = 2 };

    // profile is a display name; one that no profile has is taken for a group name. It is only read. Opens a
    // connection to the daemon, and blocks until the daemon has admitted or refused it, without a time limit.
    SETUP_SIP_ConnectDlg(Operation op, QString& profile, QWidget* parent, const char* name);
    ~SETUP_SIP_ConnectDlg() override;

    // Sends the request and begins to wait for its answer. To be called once, after connectDone() is
    // connected: a request that cannot be sent ends with connectDone(false) before this returns. Aborts the
    // process when the constructor got no connection: no daemon, or one that refused.
    void startConnect();

    // Shows the outcome for ack and emits connectDone(); after the first half of a reconnect it sends the
    // second instead. Aborts the process for an ack that is not defined.
    void processResult(_SIPD_APP_ACK_E ack);

signals:
    // Once for each attempt: true after a successful connect or disconnect, false after a failure or Cancel.
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
    QString profileName; // the group name, by which the daemon knows the profile
};

#endif
