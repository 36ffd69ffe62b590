#include "DaemonSocketClaim.h"

#include "ScriptedDaemon.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char* lockPath = SIPD_SOCKET_PATH ".tests-lock";

// Another user's file in /tmp can be opened, but not with O_CREAT.
int openLock()
{
    int fd = -1;
    while (fd < 0) {
        fd = open(lockPath, O_RDONLY | O_CLOEXEC);
        if (fd < 0 && errno == ENOENT)
            fd = open(lockPath, O_RDONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (fd < 0 && errno != EEXIST)
            break;
    }
    return fd;
}

} // namespace

DaemonSocketClaim::DaemonSocketClaim() : lockFd(openLock())
{
    if (lockFd < 0) {
        reason = std::string("cannot open ") + lockPath + ": " + std::strerror(errno);
        return;
    }
    while (flock(lockFd, LOCK_EX) != 0 && errno == EINTR) {
    }
    // Starting and stopping one finds what stands in the way, and takes a dead socket away.
    reason = ScriptedDaemon(Scenario{}).start();
}

DaemonSocketClaim::~DaemonSocketClaim()
{
    close(lockFd);
}
