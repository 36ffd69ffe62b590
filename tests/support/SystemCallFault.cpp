// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SystemCallFault.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct CallState
{
    int made = 0;
    int error = 0; // 0 while the call works.
    int passing = 0;
    int failing = SystemCallFault::ALL;
    const char* path = "";
    int fired = 0;
};

std::array<CallState, static_cast<size_t>(SystemCall::Last) + 1> states;
bool writesAreShort = false;

CallState& stateOf(SystemCall call)
{
    return states[static_cast<size_t>(call)];
}

// Counts the call; true, with errno set, when it is to fail.
bool fails(SystemCall call, std::string_view path = "")
{
    CallState& state = stateOf(call);
    ++state.made;
    if (state.error == 0 || !path.ends_with(state.path) || state.passing-- > 0)
        return false;
    state.passing = 0;
    if (state.fired == state.failing)
        return false;
    ++state.fired;
    errno = state.error;
    return true;
}

} // namespace

int callCount(SystemCall call)
{
    return stateOf(call).made;
}

void resetCallCounts()
{
    for (CallState& state : states)
        state.made = 0;
}

SystemCallFault::SystemCallFault(SystemCall call, int error, int passing, int failing, const char* path)
    : call_(call)
{
    CallState& state = stateOf(call);
    state.error = error;
    state.passing = passing;
    state.failing = failing;
    state.path = path;
    state.fired = 0;
}

SystemCallFault::~SystemCallFault()
{
    stateOf(call_).error = 0;
}

int SystemCallFault::fired() const
{
    return stateOf(call_).fired;
}

ShortWrites::ShortWrites()
{
    writesAreShort = true;
}

ShortWrites::~ShortWrites()
{
    writesAreShort = false;
}

// In the place of the C library's, for the shared libraries too.
extern "C" {

int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (fails((flags & O_EXCL) != 0 ? SystemCall::CreateTemporary : SystemCall::Open, path))
        return -1;
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

int open64(const char* path, int flags, ...) __attribute__((alias("open")));

ssize_t read(int fd, void* buffer, size_t size)
{
    return fails(SystemCall::Read) ? -1 : syscall(SYS_read, fd, buffer, size);
}

ssize_t write(int fd, const void* buffer, size_t size)
{
    if (fails(SystemCall::Write))
        return -1;
    return syscall(SYS_write, fd, buffer, writesAreShort ? std::min<size_t>(size, 1) : size);
}

int fsync(int fd)
{
    return fails(SystemCall::Fsync) ? -1 : static_cast<int>(syscall(SYS_fsync, fd));
}

int rename(const char* from, const char* to) noexcept
{
    return fails(SystemCall::Rename)
               ? -1
               : static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int renameat2(int fromDirectory, const char* from, int toDirectory, const char* to,
              unsigned int flags) noexcept
{
    return fails(SystemCall::Rename)
               ? -1
               : static_cast<int>(syscall(SYS_renameat2, fromDirectory, from, toDirectory, to, flags));
}

int link(const char* from, const char* to) noexcept
{
    return fails(SystemCall::Link) ? -1
                                   : static_cast<int>(syscall(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, 0));
}

// Only locks are counted. A number and an address are passed on alike.
int fcntl(int fd, int command, ...)
{
    va_list arguments;
    va_start(arguments, command);
    const unsigned long argument = va_arg(arguments, unsigned long);
    va_end(arguments);
    if ((command == F_OFD_SETLK || command == F_OFD_SETLKW) && fails(SystemCall::Lock))
        return -1;
    return static_cast<int>(syscall(SYS_fcntl, fd, command, argument));
}

int fcntl64(int fd, int command, ...) __attribute__((alias("fcntl")));
}
