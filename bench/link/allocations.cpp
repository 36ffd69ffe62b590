// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "allocations.h"

#include <cstddef>

namespace {

thread_local long count = 0;

}

long allocationsOfThisThread()
{
    return count;
}

// NOLINTBEGIN(bugprone-reserved-identifier): the C library's own allocator
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t number, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size)
{
    ++count;
    return __libc_malloc(size);
}

void* calloc(size_t number, size_t size)
{
    ++count;
    return __libc_calloc(number, size);
}

void* realloc(void* block, size_t size)
{
    ++count;
    return __libc_realloc(block, size);
}

void* memalign(size_t alignment, size_t size)
{
    ++count;
    return __libc_memalign(alignment, size);
}

void* aligned_alloc(size_t alignment, size_t size)
{
    return memalign(alignment, size);
}
}
// NOLINTEND(bugprone-reserved-identifier)
