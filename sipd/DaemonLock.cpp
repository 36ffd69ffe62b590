// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "DaemonLock.h"

#include "SIPD_Messages.h"

#include <cerrno>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

// Opens a directory that belongs to the user and that nobody else can write to; -1 if it is none.
FileDescriptor openPrivateDirectory(const std::string& path)
{
    FileDescriptor fd(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status = {};
    const bool isPrivate = fd.isOpen() && fstat(fd.get(), &status) == 0 && status.st_uid == geteuid() &&
                           (status.st_mode & 0022) == 0;
    return isPrivate ? std::move(fd) : FileDescriptor();
}

// The state directory in the home directory that the user database names. Empty without one.
std::string makeStateDirectory()
{
    const passwd* const user = getpwuid(geteuid());
    if (user == nullptr || user->pw_dir == nullptr || user->pw_dir[0] != '/')
        return {};
    std::string path = user->pw_dir;
    for (const char* part : {"/.local", "/state", "/ormu"})
        mkdir((path += part).c_str(), 0700);
    return path;
}

// The offset of the locked byte: daemons that see different /tmp directories do not exclude each other.
off_t lockOffset()
{
    const std::string socket = SIPD_SOCKET_PATH;
    struct stat directory = {};
    stat(socket.substr(0, socket.rfind('/') + 1).c_str(), &directory);
    return static_cast<off_t>((directory.st_ino * 31 + directory.st_dev) & 0x3fffffff);
}

FileDescriptor openLockFile(const std::string& directory)
{
    if (directory.empty())
        return FileDescriptor();
    const FileDescriptor parent = openPrivateDirectory(directory);
    if (!parent.isOpen())
        return FileDescriptor();
    return FileDescriptor(openat(parent.get(), "sipd.lock", O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
}

} // namespace

// Locks a file in every directory that exists: a directory may be missing when one daemon starts and exist
// when the next one does.
DaemonLock::Outcome DaemonLock::take()
{
    struct flock range = {};
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    range.l_start = lockOffset();
    range.l_len = 1;
    for (const std::string& directory : {"/run/user/" + std::to_string(geteuid()), makeStateDirectory()}) {
        FileDescriptor file = openLockFile(directory);
        if (!file.isOpen())
            continue;
        if (fcntl(file.get(), F_OFD_SETLK, &range) == 0) {
            files_.push_back(std::move(file));
        } else if (errno == EAGAIN || errno == EACCES) {
            release();
            return Outcome::Taken;
        }
    }
    return files_.empty() ? Outcome::NoPlace : Outcome::Held;
}
