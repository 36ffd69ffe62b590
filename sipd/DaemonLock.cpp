#include "DaemonLock.h"

#include "SIPD_Messages.h"

#include <cerrno>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A directory that is the user's own and that nobody else can write to; -1 without one.
int openPrivateDirectory(const std::string& path)
{
    const int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat status;
    if (fd < 0 || (fstat(fd, &status) == 0 && status.st_uid == geteuid() && (status.st_mode & 0022) == 0))
        return fd;
    close(fd);
    return -1;
}

// The state directory under the home directory that the system, not the environment, knows.
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

// Where in the file the lock is: a daemon with another /tmp is another place's.
off_t placeInFile()
{
    const std::string socket = SIPD_SOCKET_PATH;
    struct stat directory = {};
    stat(socket.substr(0, socket.rfind('/') + 1).c_str(), &directory);
    return static_cast<off_t>((directory.st_ino * 31 + directory.st_dev) & 0x3fffffff);
}

int openLockFile(const std::string& directory)
{
    const OwnedFd parent(openPrivateDirectory(directory));
    if (parent < 0)
        return -1;
    return openat(parent, "sipd.lock", O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
}

} // namespace

// Of the directories, each may be missing at one start and be there at the next. So all that there are count.
DaemonLock::Outcome DaemonLock::take()
{
    for (const std::string& directory : {"/run/user/" + std::to_string(geteuid()), makeStateDirectory()}) {
        auto file = std::make_unique<OwnedFd>(directory.empty() ? -1 : openLockFile(directory));
        struct flock range = {};
        range.l_type = F_WRLCK;
        range.l_whence = SEEK_SET;
        range.l_start = placeInFile();
        range.l_len = 1;
        if (*file < 0)
            continue;
        if (fcntl(*file, F_OFD_SETLK, &range) == 0) {
            files_.push_back(std::move(file));
        } else if (errno == EAGAIN || errno == EACCES) {
            release();
            return Outcome::Taken;
        }
    }
    return files_.empty() ? Outcome::NoPlace : Outcome::Held;
}
