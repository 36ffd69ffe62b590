#ifndef DAEMONLINK_H
#define DAEMONLINK_H

#include "SIP_COMM_Controler.h"

#include <QCoreApplication>
#include <QString>

#include <memory>
#include <optional>
#include <sys/types.h>

// One client of the SIP daemon, which knows profiles by their group names. Blocks as SIP_COMM_Controler.h
// says: without a time limit, while the daemon does not answer.
class DaemonLink
{
    Q_DECLARE_TR_FUNCTIONS(DaemonLink)

public:
    enum State {
        Open,
        NoDaemon,
        Stranger, // another user has the daemon's socket: nothing was asked
        Refused,  // there is a daemon, but it does not admit this client
        Lost,     // it went away, or makes no sense
    };
    enum Request { Connect, Disconnect };

    // Connects, unless the daemon is a stranger's, and waits until it has admitted or refused this client.
    // The wait is for a stranger only if he took the socket between the look at it and the connection.
    DaemonLink();

    State state() const { return state_; }
    // The state in a sentence for the user.
    QString describe() const;

    // These need an open link and give nothing when it is lost.
    std::optional<_SIPD_PROFILE_STATUS_E> status(const QString& group);
    // Sends the request. Its ack is to be read before anything else is asked.
    bool send(Request request, const QString& group);
    // Waits so long for the ack of the request, or for the link's loss; false when neither has come.
    bool waitForAck(int milliseconds);
    std::optional<_SIPD_APP_ACK_E> readAck();

private:
    struct Closer
    {
        void operator()(_SIP_COMM_PROFILE_CONTROL_S* handle) const { SIP_COMM_ControlerDestruct(&handle); }
    };

    void refuse(uid_t stranger);

    State state_ = Open;
    uid_t stranger_ = 0; // in the state Stranger
    std::unique_ptr<_SIP_COMM_PROFILE_CONTROL_S, Closer> handle_;
};

#endif
