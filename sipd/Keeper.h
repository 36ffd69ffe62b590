// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef KEEPER_H
#define KEEPER_H

#include "DaemonSocket.h"

#include <sys/types.h>

// Keeps a daemon running: holds the socket, so that clients wait while there is no daemon, runs the daemon as
// a child process, and starts a new one whenever it ends. Uses neither SIP nor the settings.
//
// The new daemon starts at once. When several in a row end within seconds, growing pauses of less than a
// second precede the next.
class Keeper
{
public:
    // The daemon is this process's program, with the same arguments.
    explicit Keeper(char** arguments) : arguments_(arguments) {}
    Keeper(const Keeper&) = delete;
    Keeper& operator=(const Keeper&) = delete;

    // Runs until SIGTERM, SIGINT or SIGHUP, passes the signal on, and waits some seconds for the daemon to
    // end. Returns the exit status.
    int run();

private:
    using Time = BootClock::time_point;

    void start();
    void becomeDaemon(int channel) const;
    void wait() const;
    void handleSignals();
    void handleEnd(int status);
    void planStart();
    int end();

    char** const arguments_;
    DaemonSocket socket_;
    FileDescriptor signals_;
    int endedBy_ = 0;        // the signal
    pid_t daemon_ = -1;      // -1 while there is none
    FileDescriptor channel_; // to the daemon
    bool isUnsent_ = false;  // the daemon does not know the new socket yet
    int shortLived_ = 0;     // daemons in a row that ended soon
    Time started_;
    Time nextStart_;
};

#endif
