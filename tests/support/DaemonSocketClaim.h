#ifndef DAEMON_SOCKET_CLAIM_H
#define DAEMON_SOCKET_CLAIM_H

#include <string>

// The right to play the daemon on this machine, whose socket has a fixed path: a lock among the tests of
// every checkout of this user, held as long as the object lives. The scripts' tests take the same one
// (claim-daemon-socket).
class DaemonSocketClaim
{
public:
    // Blocks while another test has it.
    DaemonSocketClaim();
    ~DaemonSocketClaim();
    DaemonSocketClaim(const DaemonSocketClaim&) = delete;
    DaemonSocketClaim& operator=(const DaemonSocketClaim&) = delete;

    // Empty, or why the socket must be left alone, in words. A dead socket that somebody left has been
    // removed.
    const std::string& problem() const { return reason; }

private:
    int lockFd = -1;
    std::string reason;
};

#endif
