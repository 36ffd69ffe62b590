// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "echoServer.h"

#include <array>
#include <csignal>
#include <cstring>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

void watch(int loop, int fd)
{
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.fd = fd;
    epoll_ctl(loop, EPOLL_CTL_ADD, fd, &event);
}

[[noreturn]] void serve(int listenFd, size_t messageSize)
{
    const int loop = epoll_create1(0);
    watch(loop, listenFd);
    std::array<char, 4096> buffer;
    for (;;) {
        std::array<epoll_event, 64> events;
        const int count = epoll_wait(loop, events.data(), static_cast<int>(events.size()), -1);
        for (int i = 0; i < count; ++i) {
            const int fd = events[static_cast<size_t>(i)].data.fd;
            if (fd == listenFd) {
                watch(loop, accept(listenFd, nullptr, nullptr));
                continue;
            }
            const ssize_t size = recv(fd, buffer.data(), messageSize, 0);
            if (size <= 0 || send(fd, buffer.data(), static_cast<size_t>(size), MSG_NOSIGNAL) != size)
                close(fd);
        }
    }
}

} // namespace

EchoServer::EchoServer(std::string path, size_t messageSize) : path_(std::move(path))
{
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path_.c_str(), sizeof(address.sun_path) - 1);
    bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    listen(fd, SOMAXCONN);
    process_ = fork();
    if (process_ == 0)
        serve(fd, messageSize);
    close(fd);
}

EchoServer::~EchoServer()
{
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    unlink(path_.c_str());
}
