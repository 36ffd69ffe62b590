// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

/* In the phone, for its VNC screen: Qt's VNC server has no setting for its address and would listen to the
 * whole network, without a password. So a socket for every address of this machine gets the loopback alone.
 */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <dlfcn.h>
#include <netinet/in.h>
#include <string.h>
#include <sys/socket.h>

typedef int (*Bind)(int, const struct sockaddr*, socklen_t);

__attribute__((visibility("default"))) int bind(int fd, const struct sockaddr* address, socklen_t length)
{
    Bind next = NULL;
    *(void**)&next = dlsym(RTLD_NEXT, "bind");

    union {
        struct sockaddr_in v4;
        struct sockaddr_in6 v6;
    } loopback;
    if (length < sizeof(struct sockaddr_in) || length > sizeof loopback)
        return next(fd, address, length);

    memcpy(&loopback, address, length);
    if (address->sa_family == AF_INET && loopback.v4.sin_addr.s_addr == htonl(INADDR_ANY))
        loopback.v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    /* A socket for both families: the mapped address serves 127.0.0.1, which every viewer tries. */
    if (address->sa_family == AF_INET6 && length == sizeof loopback.v6 &&
        memcmp(&loopback.v6.sin6_addr, &in6addr_any, sizeof in6addr_any) == 0)
        inet_pton(AF_INET6, "::ffff:127.0.0.1", &loopback.v6.sin6_addr);
    return next(fd, (const struct sockaddr*)&loopback, length);
}
