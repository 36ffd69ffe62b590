// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef PEERUSER_H
#define PEERUSER_H

#include <optional>
#include <sys/types.h>

// The user of the process at the other end of a connected local socket.
std::optional<uid_t> peerUser(int fd);

#endif
