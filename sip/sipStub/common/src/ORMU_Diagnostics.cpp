// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ORMU_Diagnostics.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

void ormuPrint(const char* format, ...)
{
    const int savedErrno = errno;
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    errno = savedErrno;
}

void ormuAssertFailed(const char* file, int line)
{
    ormuPrint("{%d} %s:%d\tormu assert failed !\n\n", ORMU_LEVEL_ERROR, sourceBaseName(file), line);
    std::abort();
}
