// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "DaemonOwner.h"

#include "FileDescriptor.h"
#include "SIPD_Messages.h"

#include <QCoreApplication>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr uid_t ROOT = 0;

bool isStranger(uid_t user)
{
    return user != ROOT && user != geteuid();
}

bool connectToDaemon(int fd)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, SIPD_SOCKET_PATH, sizeof(address.sun_path) - 1);
    return connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

QString userName(uid_t user)
{
    constexpr size_t room = 16384;
    std::vector<char> buffer(room);
    passwd entry = {};
    passwd* found = nullptr;
    if (getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr)
        return QFile::decodeName(entry.pw_name);
    return QString::number(user);
}

} // namespace

std::optional<uid_t> strangerOnDaemonSocket()
{
    struct stat file = {};
    if (lstat(SIPD_SOCKET_PATH, &file) != 0)
        return std::nullopt;
    if (isStranger(file.st_uid))
        return file.st_uid;
    const FileDescriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd.isOpen())
        return std::nullopt;
    if (connectToDaemon(fd.get()))
        return strangerOnConnection(fd.get());
    return errno == EACCES && file.st_uid != geteuid() ? std::optional(file.st_uid) : std::nullopt;
}

std::optional<uid_t> peerOf(int fd)
{
    ucred peer = {};
    socklen_t size = sizeof(peer);
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
        return std::nullopt;
    return peer.uid;
}

std::optional<uid_t> strangerOnConnection(int fd)
{
    const auto peer = peerOf(fd);
    return peer && isStranger(*peer) ? peer : std::nullopt;
}

QString describeStranger(uid_t stranger)
{
    return QCoreApplication::translate("DaemonOwner", "The SIP daemon on %1 belongs to another user: %2.",
                                       "99.99.99;DIALOG_ICON_50_WARP")
        .arg(QStringLiteral(SIPD_SOCKET_PATH), userName(stranger));
}
