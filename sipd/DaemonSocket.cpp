// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "DaemonSocket.h"

#include "FdPassing.h"
#include "Log.h"
#include "PeerUser.h"
#include "SIPD_Messages.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <pwd.h>
#include <string_view>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace {

// The numbers of passed descriptors, and their names (LISTEN_FDNAMES).
constexpr int PASSED_SOCKET = 3;
constexpr int PASSED_CHANNEL = 4;
constexpr char NAMES_BY_KEEPER[] = "socket:keeper";

// The directory may be full, so attempts to make the file may go on failing.
constexpr int MOST_ATTEMPTS = 100;

constexpr char ALREADY_LISTENING[] = "a daemon is already listening on " SIPD_SOCKET_PATH;

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

std::string directoryOfSocket()
{
    const std::string path = SIPD_SOCKET_PATH;
    return path.substr(0, path.rfind('/') + 1);
}

std::string userName(uid_t user)
{
    const passwd* const entry = getpwuid(user);
    return "user " + (entry != nullptr ? std::string(entry->pw_name) : std::to_string(user));
}

bool isTrusted(uid_t user)
{
    return user == 0 || user == geteuid();
}

// Returns an empty string when nobody listens on the socket file, otherwise a message.
std::string findListener()
{
    const FileDescriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd.isOpen())
        return problem("no socket");
    const sockaddr_un address = socketAddress();
    if (connect(fd.get(), raw(address), sizeof(address)) == 0) {
        const uid_t listener = peerUser(fd.get()).value_or(geteuid());
        return isTrusted(listener) ? ALREADY_LISTENING
                                   : userName(listener) + " is listening on " SIPD_SOCKET_PATH;
    }
    // The queue of a listener is full.
    if (errno == EAGAIN)
        return ALREADY_LISTENING;
    return errno == ECONNREFUSED || errno == ENOENT ? "" : problem(SIPD_SOCKET_PATH);
}

// Removes a dead socket file. Returns an empty string when the path is free, otherwise the reason.
std::string clearPath()
{
    struct stat status;
    if (lstat(SIPD_SOCKET_PATH, &status) != 0)
        return errno == ENOENT ? "" : problem(SIPD_SOCKET_PATH);
    if (!isTrusted(status.st_uid))
        return SIPD_SOCKET_PATH " belongs to " + userName(status.st_uid);
    if (!S_ISSOCK(status.st_mode))
        return SIPD_SOCKET_PATH " is there and is not a socket";
    if (std::string reason = findListener(); !reason.empty())
        return reason;
    return unlink(SIPD_SOCKET_PATH) == 0 || errno == ENOENT ? ""
                                                            : problem("cannot replace " SIPD_SOCKET_PATH);
}

ino_t inodeAtPath()
{
    struct stat status;
    return lstat(SIPD_SOCKET_PATH, &status) == 0 ? status.st_ino : 0;
}

bool isAtPath(int fd)
{
    sockaddr_un address = {};
    socklen_t size = sizeof(address);
    return getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
           std::strncmp(address.sun_path, SIPD_SOCKET_PATH, sizeof(address.sun_path)) == 0;
}

bool isListening(int fd)
{
    const auto option = [fd](int name) {
        int value = -1;
        socklen_t size = sizeof(value);
        return getsockopt(fd, SOL_SOCKET, name, &value, &size) == 0 ? value : -1;
    };
    return option(SO_DOMAIN) == AF_UNIX && option(SO_TYPE) == SOCK_STREAM && option(SO_ACCEPTCONN) == 1;
}

void prepare(int fd)
{
    fcntl(fd, F_SETFD, FD_CLOEXEC);
    fcntl(fd, F_SETFL, O_NONBLOCK);
}

FileDescriptor openSpareFd()
{
    return FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
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

bool isPassed()
{
    return isNumber(std::getenv("LISTEN_PID"), getpid()) && !isNumber(std::getenv("LISTEN_FDS"), 0);
}

} // namespace

void DaemonSocket::remove()
{
    if (!fd_.isOpen())
        return;
    if (isOwn_ && inodeAtPath() == inode_)
        unlink(SIPD_SOCKET_PATH);
    fd_ = FileDescriptor();
    lock_.release();
}

bool DaemonSocket::isKept()
{
    const char* const names = std::getenv("LISTEN_FDNAMES");
    return isPassed() && names != nullptr && std::strcmp(names, NAMES_BY_KEEPER) == 0;
}

std::string DaemonSocket::open()
{
    const bool isSocketPassed = isPassed();
    const bool isOne = isNumber(std::getenv("LISTEN_FDS"), 1);
    isKeepersDaemon_ = isKept();
    for (const char* name : {"LISTEN_PID", "LISTEN_FDS", "LISTEN_FDNAMES"})
        unsetenv(name);
    if (isKeepersDaemon_)
        return takeOverFromKeeper();
    if (!isSocketPassed)
        return openOwn();
    return isOne ? takeOver() : "the service manager is to hand over one socket";
}

std::string DaemonSocket::takeOver()
{
    if (!isListening(PASSED_SOCKET))
        return "what the service manager handed over is no listening local stream socket";
    if (lock_.take() == DaemonLock::Outcome::Taken)
        return ALREADY_LISTENING;
    prepare(PASSED_SOCKET);
    fd_ = FileDescriptor(PASSED_SOCKET);
    if (!isAtPath(fd_.get()))
        return {};
    inode_ = inodeAtPath();
    watchPlace();
    if (inode_ == 0)
        restoreFile([] {});
    return {};
}

std::string DaemonSocket::takeOverFromKeeper()
{
    if (!isListening(PASSED_SOCKET))
        return "the keeper handed over no listening socket";
    prepare(PASSED_SOCKET);
    prepare(PASSED_CHANNEL);
    fd_ = FileDescriptor(PASSED_SOCKET);
    watchFd_ = FileDescriptor(PASSED_CHANNEL);
    spareFd_ = openSpareFd();
    return {};
}

std::string DaemonSocket::openOwn()
{
    const DaemonLock::Outcome lock = lock_.take();
    if (lock == DaemonLock::Outcome::Taken)
        return ALREADY_LISTENING;
    if (lock == DaemonLock::Outcome::NoPlace)
        ORMU_LOG(ORMU_LEVEL_ERROR, "a second daemon may start while %s is away: no directory for a lock",
                 SIPD_SOCKET_PATH);
    std::string reason = clearPath();
    if (reason.empty())
        reason = bindOwn();
    if (!reason.empty()) {
        lock_.release();
        return reason;
    }
    watchPlace();
    restoreFile([] {});
    return {};
}

std::string DaemonSocket::bindOwn()
{
    FileDescriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd.isOpen())
        return problem("no socket");
    const sockaddr_un address = socketAddress();
    const mode_t formerMask = umask(0177);
    const bool isBound = bind(fd.get(), raw(address), sizeof(address)) == 0;
    const int bindError = errno;
    umask(formerMask);
    struct stat status;
    if (!isBound || lstat(SIPD_SOCKET_PATH, &status) != 0 || listen(fd.get(), SOMAXCONN) != 0) {
        errno = isBound ? errno : bindError;
        return problem("cannot listen on " SIPD_SOCKET_PATH);
    }
    fd_ = std::move(fd);
    inode_ = status.st_ino;
    isOwn_ = true;
    return {};
}

// Watches the socket's file for removal. While another file has its place, or it cannot be watched, watches
// the directory for removals.
void DaemonSocket::watchPlace()
{
    if (!watchFd_.isOpen())
        watchFd_ = FileDescriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    const int former = std::exchange(watch_, -1);
    if (inodeAtPath() == inode_)
        watch_ =
            inotify_add_watch(watchFd_.get(), SIPD_SOCKET_PATH, IN_ATTRIB | IN_MOVE_SELF | IN_DONT_FOLLOW);
    if (watch_ < 0)
        watch_ = inotify_add_watch(watchFd_.get(), directoryOfSocket().c_str(),
                                   IN_DELETE | IN_MOVED_FROM | IN_ONLYDIR);
    if (watch_ < 0)
        ORMU_LOG(ORMU_LEVEL_ERROR, "the daemon does not notice when %s is removed: %s", SIPD_SOCKET_PATH,
                 std::strerror(errno));
    if (former >= 0 && former != watch_)
        inotify_rm_watch(watchFd_.get(), former);
}

bool DaemonSocket::handleChange(const std::function<void()>& onReplaced)
{
    if (isKeepersDaemon_)
        return receiveSocket(onReplaced);
    std::array<char, 4096> events;
    while (read(watchFd_.get(), events.data(), events.size()) > 0) {
    }
    restoreFile(onReplaced);
    return true;
}

void DaemonSocket::restoreFile(const std::function<void()>& onReplaced)
{
    for (int attempt = 1; fd_.isOpen() && inodeAtPath() != inode_; ++attempt) {
        FileDescriptor former = std::move(fd_);
        std::string reason = clearPath();
        if (reason.empty())
            reason = bindOwn();
        if (!reason.empty())
            fd_ = std::move(former);
        watchPlace();
        // The path may have become free before it was watched.
        if (!reason.empty() && inodeAtPath() == 0 && attempt < MOST_ATTEMPTS)
            continue;
        isAway_ = !reason.empty();
        const bool isNews = reason != std::exchange(awayReason_, reason);
        if (isAway_ && isNews)
            ORMU_LOG(ORMU_LEVEL_ERROR, "nobody reaches the daemon: %s", reason.c_str());
        if (isAway_)
            return;
        ORMU_LOG(ORMU_LEVEL_INFO, "%s was removed, and is made anew", SIPD_SOCKET_PATH);
        onReplaced();
    }
}

bool DaemonSocket::receiveSocket(const std::function<void()>& onReplaced)
{
    spareFd_ = FileDescriptor();
    ReceivedFd received = receiveFd(watchFd_.get());
    if (received.state == ReceivedFd::State::Received) {
        std::swap(fd_, received.fd);
        onReplaced();
        received.fd = FileDescriptor();
    }
    spareFd_ = openSpareFd();
    return received.state != ReceivedFd::State::Closed;
}

void DaemonSocket::handOver(int channel) const
{
    // Each may have the number that the other one needs.
    const FileDescriptor socketCopy(fcntl(fd_.get(), F_DUPFD, PASSED_CHANNEL + 1));
    const FileDescriptor channelCopy(fcntl(channel, F_DUPFD, PASSED_CHANNEL + 1));
    dup2(socketCopy.get(), PASSED_SOCKET);
    dup2(channelCopy.get(), PASSED_CHANNEL);
    setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
    setenv("LISTEN_FDS", "2", 1);
    setenv("LISTEN_FDNAMES", NAMES_BY_KEEPER, 1);
}

bool DaemonSocket::sendTo(int channel) const
{
    // A daemon that has ended needs nothing: the next one starts with the new socket.
    return sendFd(channel, fd_.get()) ||
           (errno != EAGAIN && errno != EINTR && errno != ENOBUFS && errno != ETOOMANYREFS);
}
