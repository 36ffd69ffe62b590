#include "SettingsHostLock.h"

#include "OrmuConfig.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace {

bool isSameFile(const FileDescriptor& first, const FileDescriptor& second)
{
    struct stat a = {};
    struct stat b = {};
    return fstat(first.get(), &a) == 0 && fstat(second.get(), &b) == 0 && a.st_dev == b.st_dev &&
           a.st_ino == b.st_ino;
}

} // namespace

SettingsHostLock::Result SettingsHostLock::hold()
{
    const QByteArray path =
        QFile::encodeName(OrmuConfig::getSettingDirectory() + QLatin1String("/.host.lock"));
    FileDescriptor file(open(path.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    if (!file.isOpen())
        return CannotLock;
    // The directory may be another one by now, or made anew.
    if (file_.isOpen() && isSameFile(file, file_))
        return Held;
    if (flock(file.get(), LOCK_EX | LOCK_NB) != 0)
        return errno == EWOULDBLOCK ? HeldByAnother : CannotLock;
    file_.swap(file);
    return Held;
}
