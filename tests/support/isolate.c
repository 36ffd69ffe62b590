// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// isolate COMMAND [ARGUMENT...]: runs the command with an empty /tmp and a loopback network of its own. The
// daemon's socket has a fixed path in /tmp, and servers have fixed ports: so tests that use them run side by
// side. Needs root.
#define _GNU_SOURCE
#include <net/if.h>
#include <sched.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

static int bringUpLoopback(void)
{
    struct ifreq request;
    memset(&request, 0, sizeof request);
    strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP;
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    const int result = ioctl(fd, SIOCSIFFLAGS, &request);
    close(fd);
    return result;
}

int main(int argc, char** argv)
{
    if (argc < 2 || unshare(CLONE_NEWNS | CLONE_NEWNET) != 0 || bringUpLoopback() != 0 ||
        mount(NULL, "/", NULL, MS_REC | MS_PRIVATE, NULL) != 0 ||
        mount("tmpfs", "/tmp", "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777") != 0) {
        perror(argv[0]);
        return 126;
    }
    execvp(argv[1], argv + 1);
    perror(argv[1]);
    return 127;
}
