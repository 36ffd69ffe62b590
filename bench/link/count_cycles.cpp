// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// count_cycles bare|library N: makes N cycles inside measured(), for a tool that counts instructions. A
// daemon must be listening.

#include "cycles.h"

#include <cstdlib>
#include <cstring>

extern "C" [[gnu::noinline]] int measured(bool bare, long count)
{
    uint32_t status = 0;
    for (long i = 0; i < count; ++i)
        if ((bare ? bareCycle("Profile0", &status) : libraryCycle("Profile0", &status)) != 0)
            return 1;
    return 0;
}

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    const bool bare = std::strcmp(argv[1], "bare") == 0;
    uint32_t status = 0;
    // The first cycle does what a process does only once.
    const int first = bare ? bareCycle("Profile0", &status) : libraryCycle("Profile0", &status);
    return first != 0 ? 1 : measured(bare, std::strtol(argv[2], nullptr, 10));
}
