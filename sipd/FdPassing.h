// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef FDPASSING_H
#define FDPASSING_H

#include "EventLoop.h"

// Passes file descriptors between processes over a connected local socket.

// Does not block. Returns false, with errno, when it was not sent.
bool sendFd(int channel, int fd);

struct ReceivedFd
{
    enum class State {
        Received,
        Nothing, // no message yet, or one without a descriptor
        Closed   // the other end is closed
    };
    State state = State::Nothing;
    FileDescriptor fd = FileDescriptor();
};

// The channel must be non-blocking.
ReceivedFd receiveFd(int channel);

#endif
