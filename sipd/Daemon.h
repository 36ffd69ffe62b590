// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef DAEMON_H
#define DAEMON_H

#include "DaemonSocket.h"
#include "EventLoop.h"
#include "KeptContacts.h"
#include "NetworkWatch.h"
#include "Registrations.h"
#include "Server.h"
#include "SipNetwork.h"

#include <memory>
#include <optional>

// Serves the clients of an open socket until a signal ends it.
class Daemon
{
public:
    // endSignals: a non-blocking signalfd. Both belong to the caller and must outlive this.
    Daemon(DaemonSocket& socket, int endSignals, SipSettings settings);
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    // Runs until a signal. Then removes the socket, unregisters all profiles and returns within 4 seconds:
    // true when everything has ended, false when a server or a name server has not answered.
    bool run();

private:
    void restoreSocket();
    void end();

    DaemonSocket& socket_;
    EventLoop loop_;
    SipNetwork network_;
    KeptContacts contacts_{KeptContacts::standardDirectory()};
    Registrations registrations_;
    const NetworkWatch networkWatch_;
    std::unique_ptr<Server> server_; // null while the daemon ends
    bool isEnding_ = false;
    bool isLate_ = false;
    const std::unique_ptr<Timer> endLimit_;
    std::optional<FdWatch> socketWatch_;
    const FdWatch signalWatch_;
};

#endif
