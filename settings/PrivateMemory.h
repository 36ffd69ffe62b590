// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef PRIVATEMEMORY_H
#define PRIVATEMEMORY_H

#include <sys/prctl.h>
#include <sys/resource.h>

// Call this first in a program that holds passwords: it then leaves no core file, and other programs of the
// user cannot read its memory. AddressSanitizer's leak check still can.
inline void keepMemoryPrivate()
{
    constexpr rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
#ifndef __SANITIZE_ADDRESS__
    prctl(PR_SET_DUMPABLE, 0);
#endif
}

#endif
