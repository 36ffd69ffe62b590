// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

/* The floor of the measurements: the least code for one cycle that checks every result and writes the
 * library's lines to standard error. */

#define _POSIX_C_SOURCE 200809L

#include "SIPD_Messages.h"
#include "cycles.h"

#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

static int readAll(int fd, void* buffer, size_t size)
{
    return read(fd, buffer, size) == (ssize_t)size ? 0 : -1;
}

static int writeAll(int fd, const void* buffer, size_t size)
{
    return write(fd, buffer, size) == (ssize_t)size ? 0 : -1;
}

static int openAndRegister(void)
{
    const _SIPD_MSG_HEAD_S head = {0, SIPD_MSG_REGISTER, SIPD_APPID_SETUP};
    struct sockaddr_un address;
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    if (fd < 0)
        return -1;
    fcntl(fd, F_SETFD, FD_CLOEXEC);
    memset(&address, 0, sizeof(address));
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, SIPD_SOCKET_PATH, sizeof(address.sun_path) - 1);
    if (connect(fd, (const struct sockaddr*)&address, sizeof(address)) != 0 ||
        writeAll(fd, &head, sizeof(head))) {
        close(fd);
        return -1;
    }
    return fd;
}

static int readAck(int fd)
{
    _SIPD_MSG_HEAD_S head;
    _SIPD_APP_ACK_E ack;
    if (readAll(fd, &head, sizeof(head)) || head.type != SIPD_MSG_ACK)
        return -1;
    fprintf(stderr, "{%d} %s:%d, %s()\trecieve ack message\n", 4, "bareCycle.c", __LINE__, __func__);
    if (readAll(fd, &ack, sizeof(ack)))
        return -1;
    fprintf(stderr, "{%d} %s:%d\t read ack command\n", 4, "bareCycle.c", __LINE__);
    return ack == SIPD_ACK_FAILED ? -1 : 0;
}

static int askStatus(int fd, const char* profileName, uint32_t* status)
{
    _SIPD_MSG_HEAD_S head = {sizeof(_SIPD_MSG_PROFILE_S), SIPD_MSG_PROFILE, SIPD_APPID_SETUP};
    _SIPD_MSG_PROFILE_S profile;
    memset(&profile, 0, sizeof(profile));
    profile.request = PROFILE_CTRL_GET_STATUS;
    strncpy(profile.name, profileName, SIPD_PROFILE_NAME_MAX);
    if (writeAll(fd, &head, sizeof(head)) || writeAll(fd, &profile, sizeof(profile)) ||
        readAll(fd, &head, sizeof(head)) || head.type != SIPD_MSG_PROFILE)
        return -1;
    fprintf(stderr, "{%d} %s:%d, %s()\trecieve profile message\n", 4, "bareCycle.c", __LINE__, __func__);
    if (readAll(fd, &profile, sizeof(profile)))
        return -1;
    fprintf(stderr, "{%d} %s:%d\t read profile control command\n", 4, "bareCycle.c", __LINE__);
    *status = profile.status;
    return 0;
}

int bareCycle(const char* profileName, uint32_t* status)
{
    int result;
    const int fd = openAndRegister();
    if (fd < 0)
        return -1;
    result = readAck(fd);
    if (result == 0)
        result = askStatus(fd, profileName, status);
    close(fd);
    return result;
}
