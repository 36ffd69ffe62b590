// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "DaemonSocketClaim.h"

#include "ScriptedDaemon.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A directory that only this user can enter: nobody else can hold a lock in it.
std::string privateDirectory()
{
    return SIPD_SOCKET_PATH ".tests-" + std::to_string(geteuid());
}

bool isPrivate(const std::string& directory)
{
    struct stat status = {};
    return lstat(directory.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
           (status.st_mode & 077) == 0;
}

} // namespace

DaemonSocketClaim::DaemonSocketClaim()
{
    const std::string directory = privateDirectory();
    mkdir(directory.c_str(), 0700);
    if (!isPrivate(directory)) {
        reason = directory + " is not a directory of this user alone";
        return;
    }
    const std::string path = directory + "/lock";
    lockFd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lockFd < 0) {
        reason = "cannot open " + path + ": " + std::strerror(errno);
        return;
    }
    while (flock(lockFd, LOCK_EX) != 0 && errno == EINTR) {
    }
    // Starting and stopping a daemon finds the obstacles and removes a dead socket.
    reason = ScriptedDaemon(Scenario{}).start();
}

DaemonSocketClaim::~DaemonSocketClaim()
{
    close(lockFd);
}
