// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SANITIZERS_H
#define SANITIZERS_H

extern "C" void __asan_init() __attribute__((weak));

// Whether the product was built with AddressSanitizer. The tests' own code never is.
inline bool hasAddressSanitizer()
{
    return __asan_init != nullptr;
}

#endif
