// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef DAEMONLOCK_H
#define DAEMONLOCK_H

#include "EventLoop.h"

#include <string>
#include <vector>

// The right to be this user's only daemon, which does not depend on the socket's file. It is a lock on files
// in the user's own directories, whatever the environment says, so no other user can take it. The kernel
// releases it when the process ends.
class DaemonLock
{
public:
    enum class Outcome {
        Held,
        Taken,  // by another daemon of this user
        NoPlace // the user has no directory for the files
    };

    // Does not block.
    Outcome take();
    void release() { files_.clear(); }

private:
    std::vector<FileDescriptor> files_;
};

#endif
