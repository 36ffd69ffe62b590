// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef REQUIRE_H
#define REQUIRE_H

#include <cstdio>
#include <cstdlib>

// Ends the program, under a fuzzer as well as in a test, and says where it was called.
inline void require(bool condition, const char* file = __builtin_FILE(), int line = __builtin_LINE())
{
    if (condition)
        return;
    std::fprintf(stderr, "%s:%d: this does not hold\n", file, line);
    std::abort();
}

#endif
