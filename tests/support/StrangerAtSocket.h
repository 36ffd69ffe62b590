// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef STRANGER_AT_SOCKET_H
#define STRANGER_AT_SOCKET_H

#include <sys/types.h>

// Another user's ("nobody's") part in the daemon's socket: the file, the listening process, or both. The
// process accepts every connection and never answers. Only root can create one.
class StrangerAtSocket
{
public:
    enum Part { File, Process, Both };

    static constexpr uid_t USER = 65534;
    static constexpr const char* NAME = "nobody";

    // Starts the process, which listens; otherwise the test fails.
    explicit StrangerAtSocket(Part part);
    ~StrangerAtSocket(); // ends the process and removes the file
    StrangerAtSocket(const StrangerAtSocket&) = delete;
    StrangerAtSocket& operator=(const StrangerAtSocket&) = delete;

private:
    pid_t process_ = -1;
};

#endif
