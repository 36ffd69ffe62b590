#ifndef DAEMONOWNER_H
#define DAEMONOWNER_H

#include <QString>

#include <optional>
#include <sys/types.h>

// Every user of the machine can put a socket at the daemon's path while none is there. The user of this
// process and root are right; everybody else is a stranger.

// The stranger at the daemon's path: the owner of what stands there, or whoever listens on it; or root, whose
// daemon does not let this user in. Nothing when the socket may be used or is not there. Returns at once,
// whatever the other side does. A daemon that comes after this call is not seen.
std::optional<uid_t> strangerOnDaemonSocket();

// The user at the other end of this connection; nothing when the kernel does not say.
std::optional<uid_t> peerOf(int fd);
// That user when he is a stranger.
std::optional<uid_t> strangerOnConnection(int fd);

// Why a daemon of that user is not used, in a sentence for the user of this process.
QString describeStranger(uid_t stranger);

#endif
