// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ECHO_SERVER_H
#define ECHO_SERVER_H

#include <cstddef>
#include <string>
#include <sys/types.h>

// A process that does nothing but send back what it gets, one message at a time, in an epoll loop: the floor
// for every server of that protocol.
class EchoServer
{
public:
    EchoServer(std::string path, size_t messageSize);
    ~EchoServer();
    EchoServer(const EchoServer&) = delete;
    EchoServer& operator=(const EchoServer&) = delete;

    const char* path() const { return path_.c_str(); }

private:
    const std::string path_;
    pid_t process_;
};

#endif
