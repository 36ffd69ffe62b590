// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef DAEMONOWNER_H
#define DAEMONOWNER_H

#include <QString>

#include <optional>
#include <sys/types.h>

// Any user of the machine can put a socket at the daemon's path while none is there. A stranger is a user
// other than root and the user of this process.

// The stranger who owns the file at the daemon's path or listens on it; or root, if root's daemon does not
// admit this user. Nothing when the socket may be used or is missing. Never blocks. A daemon that starts
// after this call is not seen.
std::optional<uid_t> strangerOnDaemonSocket();

// The user at the other end of the connection; nothing when the kernel does not know.
std::optional<uid_t> peerOf(int fd);
// The same, when that user is a stranger.
std::optional<uid_t> strangerOnConnection(int fd);

// A sentence for the user that says why that user's daemon is not used.
QString describeStranger(uid_t stranger);

#endif
