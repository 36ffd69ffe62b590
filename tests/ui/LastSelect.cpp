// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "LastSelect.h"

#include <poll.h>
#include <sys/select.h>

LastSelect lastSelect;

extern "C" int __real_select(int nfds, fd_set* readable, fd_set* writable, fd_set* exceptional,
                             timeval* timeout);
extern "C" int __wrap_select(int nfds, fd_set* readable, fd_set* writable, fd_set* exceptional,
                             timeval* timeout)
{
    lastSelect = {nfds, writable == nullptr && exceptional == nullptr, 0, *timeout};
    for (int fd = 0; fd < nfds; ++fd)
        lastSelect.inSet += FD_ISSET(fd % FD_SETSIZE, readable + fd / FD_SETSIZE) ? 1 : 0;
    return __real_select(nfds, readable, writable, exceptional, timeout);
}

bool waitForAnswer(int timeoutMs)
{
    pollfd answer{lastSelect.fd(), POLLIN, 0};
    return poll(&answer, 1, timeoutMs) == 1;
}
