// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef DAEMON_SOCKET_CLAIM_H
#define DAEMON_SOCKET_CLAIM_H

#include <string>

// The right to play the daemon, whose socket has a fixed path: a lock among the tests of all checkouts of
// this user, held while the object lives. Tests that are scripts take the same lock (claim-daemon-socket).
class DaemonSocketClaim
{
public:
    // Blocks while another test has the lock.
    DaemonSocketClaim();
    ~DaemonSocketClaim();
    DaemonSocketClaim(const DaemonSocketClaim&) = delete;
    DaemonSocketClaim& operator=(const DaemonSocketClaim&) = delete;

    // Empty, or the reason why the socket must not be touched. A dead socket has been removed.
    const std::string& problem() const { return reason; }

private:
    int lockFd = -1;
    std::string reason;
};

#endif
