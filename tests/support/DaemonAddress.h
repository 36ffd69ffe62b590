// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef DAEMON_ADDRESS_H
#define DAEMON_ADDRESS_H

#include "SIPD_Messages.h"

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

// bind() or connect() at the path of the daemon's socket.
inline int atDaemonsPath(int (*call)(int, const sockaddr*, socklen_t), int fd)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, SIPD_SOCKET_PATH);
    return call(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

#endif
