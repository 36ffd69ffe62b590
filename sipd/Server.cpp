#include "Server.h"

#include "Client.h"
#include "Log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

// The phone has a handful. Beyond the second number connections are not even kept until they have been
// refused in due form.
constexpr std::ptrdiff_t mostAdmitted = 200;
constexpr size_t mostConnections = 256;

int openSpare()
{
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

bool isForeign(int fd)
{
    ucred peer = {};
    socklen_t size = sizeof(peer);
    return getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || peer.uid != geteuid();
}

} // namespace

Server::Server(EventLoop& loop, int fd, Registrations& registrations)
    : loop_(loop), registrations_(registrations), listenFd_(fd), spareFd_(openSpare())
{
    watchSocket();
}

Server::~Server()
{
    close(spareFd_);
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

// False when nobody waits.
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
    close(spareFd_);
    const int turnedAway = accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
    close(turnedAway);
    spareFd_ = openSpare();
    return turnedAway >= 0;
}

void Server::admitConnection(int fd)
{
    if (!makeRoom()) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "a client is turned away: there are too many");
        close(fd);
        return;
    }
    clients_.push_back(std::make_unique<Client>(*this, fd, isForeign(fd)));
}

// Who has been here longest without saying anything goes first.
bool Server::makeRoom()
{
    reap();
    if (clients_.size() < mostConnections)
        return true;
    const auto silent = std::find_if(clients_.begin(), clients_.end(), [](const auto& client) {
        return client->state() == Client::State::Unregistered;
    });
    if (silent == clients_.end())
        return false;
    clients_.erase(silent);
    return true;
}

bool Server::isRefused(const Client& client) const
{
    const auto admitted = std::count_if(clients_.begin(), clients_.end(), [](const auto& other) {
        return other->state() == Client::State::Admitted && !other->isClosed();
    });
    const char* reason = nullptr;
    if (client.isForeign())
        reason = "it is another user's";
    else if (admitted >= mostAdmitted)
        reason = "there are too many";
    if (reason != nullptr)
        ORMU_LOG(ORMU_LEVEL_ERROR, "a client is refused: %s", reason);
    return reason != nullptr;
}

void Server::reap()
{
    if (!std::exchange(hasClosedClients_, false))
        return;
    std::erase_if(clients_, [](const auto& client) { return client->isClosed(); });
}
