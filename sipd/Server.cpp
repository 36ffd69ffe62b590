// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Server.h"

#include "Log.h"
#include "PeerUser.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

// Clients beyond the first limit are refused with an ack, connections beyond the second are closed at once.
constexpr std::ptrdiff_t MOST_ADMITTED = 200;
constexpr size_t MOST_CONNECTIONS = 256;

int openSpare()
{
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

} // namespace

Server::Server(EventLoop& loop, int fd, Registrations& registrations)
    : loop_(loop), registrations_(registrations), listenFd_(fd)
{
    spareFd_.emplace(openSpare());
    watchSocket();
}

void Server::watchSocket()
{
    watch_ = std::make_unique<FdWatch>(loop_, listenFd_, POLLIN, [this](int) { acceptClient(); });
}

void Server::listenOn(int fd)
{
    while (acceptClient()) {
    }
    listenFd_ = fd;
    watchSocket();
}

// False when no client waits.
bool Server::acceptClient()
{
    const int fd = accept4(listenFd_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd >= 0) {
        admitConnection(fd);
        return true;
    }
    if (errno != EMFILE && errno != ENFILE)
        return false;
    ORMU_LOG(ORMU_LEVEL_ERROR, "a client is turned away: %s", std::strerror(errno));
    spareFd_.reset();
    const int turnedAway = accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
    close(turnedAway);
    spareFd_.emplace(openSpare());
    return turnedAway >= 0;
}

void Server::admitConnection(int fd)
{
    if (!makeRoom()) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "a client is turned away: there are too many");
        close(fd);
        return;
    }
    clients_.push_back(std::make_unique<Client>(*this, fd, peerUser(fd) != geteuid()));
}

// Drops the oldest client that has not introduced itself.
bool Server::makeRoom()
{
    reap();
    if (clients_.size() < MOST_CONNECTIONS)
        return true;
    const auto silent = std::find_if(clients_.begin(), clients_.end(), [](const auto& client) {
        return client->state() == Client::State::Unregistered;
    });
    if (silent == clients_.end())
        return false;
    clients_.erase(silent);
    return true;
}

bool Server::admits(const Client& client)
{
    const auto admitted = std::count_if(clients_.begin(), clients_.end(), [](const auto& other) {
        return other->state() == Client::State::Admitted && !other->isClosed();
    });
    const char* reason = nullptr;
    if (client.isForeign())
        reason = "it is another user's";
    else if (admitted >= MOST_ADMITTED)
        reason = "there are too many";
    if (reason != nullptr)
        ORMU_LOG(ORMU_LEVEL_ERROR, "a client is refused: %s", reason);
    return reason == nullptr;
}

void Server::reap()
{
    if (!std::exchange(hasClosedClients_, false))
        return;
    std::erase_if(clients_, [](const auto& client) { return client->isClosed(); });
}
