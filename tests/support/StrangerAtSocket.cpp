// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "StrangerAtSocket.h"

#include "DaemonAddress.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

int bindSocket()
{
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(atDaemonsPath(bind, fd), 0);
    EXPECT_EQ(chmod(SIPD_SOCKET_PATH, 0666), 0);
    return fd;
}

// The kernel notes the user who calls listen().
[[noreturn]] void listenForEver(int fd, bool asStranger, int ready)
{
    if (asStranger && setuid(StrangerAtSocket::USER) != 0)
        _exit(1);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (listen(fd, SOMAXCONN) != 0 || write(ready, "", 1) != 1)
        _exit(1);
    for (;;)
        accept(fd, nullptr, nullptr);
}

} // namespace

StrangerAtSocket::StrangerAtSocket(Part part)
{
    const int fd = bindSocket();
    EXPECT_TRUE(part == Process || lchown(SIPD_SOCKET_PATH, USER, USER) == 0);
    int ready[2];
    EXPECT_EQ(pipe(ready), 0);
    process_ = fork();
    if (process_ == 0)
        listenForEver(fd, part != File, ready[1]);
    close(ready[1]);
    close(fd);
    char byte = 0;
    EXPECT_EQ(read(ready[0], &byte, 1), 1) << "the stranger does not listen";
    close(ready[0]);
}

StrangerAtSocket::~StrangerAtSocket()
{
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    unlink(SIPD_SOCKET_PATH);
}
