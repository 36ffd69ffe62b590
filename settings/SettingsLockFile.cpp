// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SettingsLockFile.h"

#include "SettingsFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t OTHERS = S_IRWXG | S_IRWXO;

bool isPrivate(const struct stat& status)
{
    return S_ISREG(status.st_mode) && status.st_uid == geteuid() && (status.st_mode & OTHERS) == 0;
}

// Why the lock file cannot be used; 0 when it can.
int refusalOf(const FileDescriptor& file, const std::string& path)
{
    const int error = errno;
    struct stat status = {};
    if (!file.isOpen())
        return lstat(path.c_str(), &status) != 0 || isPrivate(status) ? error : SETTINGS_LOCK_NOT_PRIVATE;
    if (fstat(file.get(), &status) != 0)
        return errno;
    return isPrivate(status) ? 0 : SETTINGS_LOCK_NOT_PRIVATE;
}

// The lock belongs to the open file, so two objects of one process exclude each other too.
bool lock(int file, int command, SettingsLockFile::Byte byte)
{
    struct flock range = {};
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    range.l_start = byte;
    range.l_len = 1;
    int locked = 0;
    do {
        locked = fcntl(file, command, &range);
    } while (locked != 0 && errno == EINTR);
    return locked == 0;
}

} // namespace

SettingsLockFile::SettingsLockFile(const std::string& directory)
{
    const std::string path = directory + ".lock";
    FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    error_ = refusalOf(file, path);
    if (error_ == 0)
        file_ = std::move(file);
}

bool SettingsLockFile::tryLock(Byte byte) const
{
    return lock(file_.get(), F_OFD_SETLK, byte);
}

bool SettingsLockFile::waitForLock(Byte byte) const
{
    return lock(file_.get(), F_OFD_SETLKW, byte);
}

bool SettingsLockFile::isSameFile(const SettingsLockFile& other) const
{
    struct stat a = {};
    struct stat b = {};
    return fstat(file_.get(), &a) == 0 && fstat(other.file_.get(), &b) == 0 && ::isSameFile(a, b);
}
