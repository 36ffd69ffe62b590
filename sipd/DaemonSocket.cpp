#include "DaemonSocket.h"

#include "SIPD_Messages.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr int handedOverFd = 3;

std::string problem(const std::string& what)
{
    return what + ": " + std::strerror(errno);
}

sockaddr_un socketAddress()
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    static_assert(sizeof(SIPD_SOCKET_PATH) <= sizeof(address.sun_path));
    std::memcpy(address.sun_path, SIPD_SOCKET_PATH, sizeof(SIPD_SOCKET_PATH));
    return address;
}

const sockaddr* raw(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

// Held while the socket file is looked at and replaced: of two daemons that start at once, each would
// otherwise take the other's for a dead one. It is on the directory, so that it leaves nothing behind.
class DirectoryLock
{
public:
    DirectoryLock() : fd_(::open(directory().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        constexpr int tries = 100;
        for (int i = 0; i < tries && !isHeld_; ++i) {
            isHeld_ = flock(fd_, LOCK_EX | LOCK_NB) == 0;
            if (!isHeld_ && errno != EWOULDBLOCK && errno != EINTR)
                break;
            if (!isHeld_)
                std::this_thread::sleep_for(10ms);
        }
    }
    ~DirectoryLock() { close(fd_); }
    DirectoryLock(const DirectoryLock&) = delete;
    DirectoryLock& operator=(const DirectoryLock&) = delete;

    bool isHeld() const { return isHeld_; }

private:
    static std::string directory()
    {
        const std::string path = SIPD_SOCKET_PATH;
        return path.substr(0, path.rfind('/') + 1);
    }

    const int fd_;
    bool isHeld_ = false;
};

// Empty when nothing stands at the path any more.
std::string clearPath()
{
    struct stat status;
    if (lstat(SIPD_SOCKET_PATH, &status) != 0)
        return errno == ENOENT ? "" : problem(SIPD_SOCKET_PATH);
    if (!S_ISSOCK(status.st_mode))
        return SIPD_SOCKET_PATH " is there and is not a socket";
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0)
        return problem("no socket");
    const sockaddr_un address = socketAddress();
    const int error = connect(fd, raw(address), sizeof(address)) == 0 ? 0 : errno;
    close(fd);
    // EAGAIN is a full queue of someone who listens.
    if (error == 0 || error == EAGAIN)
        return "a daemon is already listening on " SIPD_SOCKET_PATH;
    if (error != ECONNREFUSED)
        return SIPD_SOCKET_PATH ": " + std::string(std::strerror(error));
    return unlink(SIPD_SOCKET_PATH) == 0 ? "" : problem("cannot replace " SIPD_SOCKET_PATH);
}

bool isNumber(const char* text, long number)
{
    if (text == nullptr)
        return false;
    const std::string_view digits = text;
    long value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return error == std::errc() && end == digits.data() + digits.size() && value == number;
}

} // namespace

void DaemonSocket::remove()
{
    if (fd_ < 0)
        return;
    // Nobody replaces the file while it is listened on, so this needs no lock.
    struct stat status;
    if (isOwn_ && lstat(SIPD_SOCKET_PATH, &status) == 0 && status.st_ino == inode_)
        unlink(SIPD_SOCKET_PATH);
    close(std::exchange(fd_, -1));
}

std::string DaemonSocket::open()
{
    const bool isHandedOver =
        isNumber(std::getenv("LISTEN_PID"), getpid()) && !isNumber(std::getenv("LISTEN_FDS"), 0);
    const bool isOne = isNumber(std::getenv("LISTEN_FDS"), 1);
    for (const char* name : {"LISTEN_PID", "LISTEN_FDS", "LISTEN_FDNAMES"})
        unsetenv(name);
    if (!isHandedOver)
        return bindOwn();
    return isOne ? takeOver() : "the service manager is to hand over one socket";
}

std::string DaemonSocket::takeOver()
{
    int domain = 0;
    int type = 0;
    int listening = 0;
    socklen_t size = sizeof(int);
    if (getsockopt(handedOverFd, SOL_SOCKET, SO_DOMAIN, &domain, &size) != 0 ||
        getsockopt(handedOverFd, SOL_SOCKET, SO_TYPE, &type, &size) != 0 ||
        getsockopt(handedOverFd, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size) != 0 || domain != AF_UNIX ||
        type != SOCK_STREAM || listening == 0)
        return "what the service manager handed over is no listening local stream socket";
    fcntl(handedOverFd, F_SETFD, FD_CLOEXEC);
    fcntl(handedOverFd, F_SETFL, O_NONBLOCK);
    fd_ = handedOverFd;
    return {};
}

std::string DaemonSocket::bindOwn()
{
    const DirectoryLock lock;
    if (!lock.isHeld())
        return "somebody else has locked the directory of " SIPD_SOCKET_PATH;
    if (std::string reason = clearPath(); !reason.empty())
        return reason;
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0)
        return problem("no socket");
    const sockaddr_un address = socketAddress();
    const mode_t formerMask = umask(0177);
    const bool isBound = bind(fd, raw(address), sizeof(address)) == 0;
    const int bindError = errno;
    umask(formerMask);
    struct stat status;
    if (!isBound || lstat(SIPD_SOCKET_PATH, &status) != 0 || listen(fd, SOMAXCONN) != 0) {
        errno = isBound ? errno : bindError;
        std::string reason = problem("cannot listen on " SIPD_SOCKET_PATH);
        close(fd);
        return reason;
    }
    fd_ = fd;
    isOwn_ = true;
    inode_ = status.st_ino;
    return {};
}
