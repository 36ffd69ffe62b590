#include "DaemonSocket.h"

#include "Log.h"
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

constexpr int handedOverFd = 3;
constexpr int keeperFd = 4;
// To make the socket's file anew. The directory may be full.
constexpr int mostAttempts = 100;
constexpr char handedOverByKeeper[] = "socket:keeper";

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

std::string nameOf(uid_t user)
{
    const passwd* const entry = getpwuid(user);
    return "user " + (entry != nullptr ? std::string(entry->pw_name) : std::to_string(user));
}

bool isTrusted(uid_t user)
{
    return user == 0 || user == geteuid();
}

uid_t listenerOf(int connected)
{
    ucred peer = {};
    socklen_t size = sizeof(peer);
    return getsockopt(connected, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 ? peer.uid : geteuid();
}

constexpr char alreadyListening[] = "a daemon is already listening on " SIPD_SOCKET_PATH;

// Empty when nobody listens on the socket file.
std::string findListener()
{
    const OwnedFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (fd < 0)
        return problem("no socket");
    const sockaddr_un address = socketAddress();
    if (connect(fd, raw(address), sizeof(address)) == 0) {
        const uid_t listener = listenerOf(fd);
        return isTrusted(listener) ? alreadyListening
                                   : nameOf(listener) + " is listening on " SIPD_SOCKET_PATH;
    }
    // A full queue of someone who listens.
    if (errno == EAGAIN)
        return alreadyListening;
    return errno == ECONNREFUSED || errno == ENOENT ? "" : problem(SIPD_SOCKET_PATH);
}

// Empty when nothing stands at the path any more.
std::string clearPath()
{
    struct stat status;
    if (lstat(SIPD_SOCKET_PATH, &status) != 0)
        return errno == ENOENT ? "" : problem(SIPD_SOCKET_PATH);
    if (!isTrusted(status.st_uid))
        return SIPD_SOCKET_PATH " belongs to " + nameOf(status.st_uid);
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

std::unique_ptr<OwnedFd> openSpare()
{
    return std::make_unique<OwnedFd>(::open("/dev/null", O_RDONLY | O_CLOEXEC));
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

bool isHandedOver()
{
    return isNumber(std::getenv("LISTEN_PID"), getpid()) && !isNumber(std::getenv("LISTEN_FDS"), 0);
}

} // namespace

DaemonSocket::~DaemonSocket()
{
    remove();
    if (watchFd_ >= 0)
        close(watchFd_);
}

void DaemonSocket::remove()
{
    if (fd_ < 0)
        return;
    if (isOwn_ && inodeAtPath() == inode_)
        unlink(SIPD_SOCKET_PATH);
    close(std::exchange(fd_, -1));
    lock_.release();
}

bool DaemonSocket::isKept()
{
    const char* const names = std::getenv("LISTEN_FDNAMES");
    return isHandedOver() && names != nullptr && std::strcmp(names, handedOverByKeeper) == 0;
}

std::string DaemonSocket::open()
{
    const bool handedOver = isHandedOver();
    const bool isOne = isNumber(std::getenv("LISTEN_FDS"), 1);
    isKept_ = isKept();
    for (const char* name : {"LISTEN_PID", "LISTEN_FDS", "LISTEN_FDNAMES"})
        unsetenv(name);
    if (isKept_)
        return takeOverFromKeeper();
    if (!handedOver)
        return openOwn();
    return isOne ? takeOver() : "the service manager is to hand over one socket";
}

std::string DaemonSocket::takeOver()
{
    if (!isListening(handedOverFd))
        return "what the service manager handed over is no listening local stream socket";
    if (lock_.take() == DaemonLock::Outcome::Taken)
        return alreadyListening;
    prepare(handedOverFd);
    fd_ = handedOverFd;
    if (!isAtPath(fd_))
        return {};
    inode_ = inodeAtPath();
    watchPlace();
    if (inode_ == 0)
        restoreFile([](int) {});
    return {};
}

std::string DaemonSocket::takeOverFromKeeper()
{
    if (!isListening(handedOverFd))
        return "the keeper handed over no listening socket";
    prepare(handedOverFd);
    prepare(keeperFd);
    fd_ = handedOverFd;
    watchFd_ = keeperFd;
    spareFd_ = openSpare();
    return {};
}

std::string DaemonSocket::openOwn()
{
    const DaemonLock::Outcome lock = lock_.take();
    if (lock == DaemonLock::Outcome::Taken)
        return alreadyListening;
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
    restoreFile([](int) {});
    return {};
}

std::string DaemonSocket::bindOwn()
{
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
    inode_ = status.st_ino;
    isOwn_ = true;
    return {};
}

// The kernel tells when the file goes or moves. While something else is in its place, or the file is nobody's
// to look at, it tells of what goes from the directory.
void DaemonSocket::watchPlace()
{
    if (watchFd_ < 0)
        watchFd_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    const int former = std::exchange(watch_, -1);
    if (inodeAtPath() == inode_)
        watch_ = inotify_add_watch(watchFd_, SIPD_SOCKET_PATH, IN_ATTRIB | IN_MOVE_SELF | IN_DONT_FOLLOW);
    if (watch_ < 0)
        watch_ =
            inotify_add_watch(watchFd_, directoryOfSocket().c_str(), IN_DELETE | IN_MOVED_FROM | IN_ONLYDIR);
    if (watch_ < 0)
        ORMU_LOG(ORMU_LEVEL_ERROR, "it goes unnoticed when %s is removed: %s", SIPD_SOCKET_PATH,
                 std::strerror(errno));
    if (former >= 0 && former != watch_)
        inotify_rm_watch(watchFd_, former);
}

bool DaemonSocket::handleChange(const std::function<void(int former)>& onReplaced)
{
    if (isKept_)
        return receiveSocket(onReplaced);
    std::array<char, 4096> events;
    while (read(watchFd_, events.data(), events.size()) > 0) {
    }
    restoreFile(onReplaced);
    return true;
}

void DaemonSocket::restoreFile(const std::function<void(int former)>& onReplaced)
{
    for (int attempt = 1; fd_ >= 0 && inodeAtPath() != inode_; ++attempt) {
        const int former = fd_;
        std::string reason = clearPath();
        if (reason.empty())
            reason = bindOwn();
        // Before the watch is there, somebody may remove it again, or remove what is in its place.
        watchPlace();
        if (!reason.empty() && inodeAtPath() == 0 && attempt < mostAttempts)
            continue;
        isAway_ = !reason.empty();
        const bool isNews = reason != std::exchange(awayReason_, reason);
        if (isAway_ && isNews)
            ORMU_LOG(ORMU_LEVEL_ERROR, "nobody reaches the daemon: %s", reason.c_str());
        if (isAway_)
            return;
        ORMU_LOG(ORMU_LEVEL_INFO, "%s was removed, and is made anew", SIPD_SOCKET_PATH);
        onReplaced(former);
        close(former);
    }
}

bool DaemonSocket::receiveSocket(const std::function<void(int former)>& onReplaced)
{
    char byte = 0;
    iovec data = {&byte, 1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control;
    msghdr message = {};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    spareFd_.reset();
    const ssize_t length = recvmsg(watchFd_, &message, MSG_CMSG_CLOEXEC);
    if (length <= 0) {
        const bool isLater = length < 0 && (errno == EAGAIN || errno == EINTR);
        spareFd_ = openSpare();
        return isLater;
    }
    const cmsghdr* const header = CMSG_FIRSTHDR(&message);
    if (header == nullptr || header->cmsg_type != SCM_RIGHTS)
        return true;
    const int former = fd_;
    std::memcpy(&fd_, CMSG_DATA(header), sizeof(fd_));
    onReplaced(former);
    close(former);
    spareFd_ = openSpare();
    return true;
}

void DaemonSocket::handOver(int channel) const
{
    // Either may be where the other is to be.
    const int socketCopy = fcntl(fd_, F_DUPFD, keeperFd + 1);
    const int channelCopy = fcntl(channel, F_DUPFD, keeperFd + 1);
    dup2(socketCopy, handedOverFd);
    dup2(channelCopy, keeperFd);
    close(socketCopy);
    close(channelCopy);
    setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
    setenv("LISTEN_FDS", "2", 1);
    setenv("LISTEN_FDNAMES", handedOverByKeeper, 1);
}

bool DaemonSocket::sendTo(int channel) const
{
    char byte = 0;
    iovec data = {&byte, 1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control = {};
    msghdr message = {};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(header), &fd_, sizeof(fd_));
    // When the daemon has ended, the next one is given the new socket anyway.
    return sendmsg(channel, &message, MSG_NOSIGNAL | MSG_DONTWAIT) >= 0 ||
           (errno != EAGAIN && errno != EINTR && errno != ENOBUFS && errno != ETOOMANYREFS);
}
