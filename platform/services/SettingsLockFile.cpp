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

// Of what is there and could not be opened.
bool isPrivate(const QByteArray& path)
{
    struct stat status = {};
    return lstat(path.constData(), &status) != 0 || isPrivate(status);
}

// An open file description's own: two of one process exclude each other too.
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

SettingsLockFile::SettingsLockFile(const QByteArray& directory)
{
    const QByteArray path = directory + ".lock";
    FileDescriptor file(open(path.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    struct stat status = {};
    if (!file.isOpen()) {
        error_ = errno;
        if (!isPrivate(path))
            error_ = SETTINGS_LOCK_NOT_PRIVATE;
    } else if (fstat(file.get(), &status) != 0) {
        error_ = errno;
    } else if (!isPrivate(status)) {
        error_ = SETTINGS_LOCK_NOT_PRIVATE;
    } else {
        file_.swap(file);
    }
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
    return fstat(file_.get(), &a) == 0 && fstat(other.file_.get(), &b) == 0 && a.st_dev == b.st_dev &&
           a.st_ino == b.st_ino;
}
