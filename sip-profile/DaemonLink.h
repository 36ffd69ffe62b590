// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef DAEMONLINK_H
#define DAEMONLINK_H

#include "SIP_COMM_Controler.h"

#include <QCoreApplication>
#include <QString>

#include <memory>
#include <optional>
#include <sys/types.h>

// A client of the SIP daemon. The daemon knows profiles by their group names. Every call but waitForAck()
// blocks until the daemon answers, without a timeout.
class DaemonLink
{
    Q_DECLARE_TR_FUNCTIONS(DaemonLink)

public:
    enum State {
        Open,
        NoDaemon,
        Stranger, // another user has the daemon's socket: nothing was asked
        Refused,  // the daemon does not admit this client
        Lost,     // the daemon closed the connection or broke the protocol
    };
    enum Request { Connect, Disconnect };

    // Connects, unless another user has the socket, and waits until the daemon has admitted or refused this
    // client. A user who takes the socket between the check and the connection can make this wait forever.
    DaemonLink();

    State state() const { return state_; }
    // A sentence for the user.
    QString describe() const;

    // The following need an open link. When it is lost they return nothing, or false.
    std::optional<_SIPD_PROFILE_STATUS_E> status(const QString& group);
    // Sends the request. Read its ack before anything else is asked.
    bool send(Request request, const QString& group);
    // Blocks up to the given time. True when an ack can be read or the connection was lost; false on timeout.
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
