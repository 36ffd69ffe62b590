// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SystemCalls.h"

#include <atomic>
#include <cerrno>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/types.h>

namespace {

thread_local SystemCalls* current = nullptr;
std::atomic<int> interruptedCount = 0;

// Calls on the test framework's files are not recorded.
bool isSocket(int fd)
{
    struct stat status = {};
    return fstat(fd, &status) == 0 && S_ISSOCK(status.st_mode);
}

} // namespace

SystemCalls::SystemCalls(Fault asked) : fault(std::move(asked))
{
    current = this;
}

SystemCalls::~SystemCalls()
{
    current = nullptr;
}

int SystemCalls::interrupted()
{
    return interruptedCount;
}

std::optional<long> SystemCalls::before(std::string_view name, int fd, size_t size)
{
    if (current == nullptr || (fd >= 0 && !isSocket(fd)))
        return std::nullopt;
    current->made.push_back(std::string(name) + (size == 0 ? "" : " " + std::to_string(size)));
    return current->fault ? current->fault(name, size) : std::nullopt;
}

void SystemCalls::after(long result)
{
    if (result == -1 && errno == EINTR)
        ++interruptedCount;
}

// The result that the test sets, or that of the call.
template <class Call>
static auto intercept(const char* name, int fd, size_t size, Call call) -> decltype(call())
{
    const auto set = SystemCalls::before(name, fd, size);
    const auto result = set ? static_cast<decltype(call())>(*set) : call();
    SystemCalls::after(result);
    return result;
}

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" {
int __real_socket(int domain, int type, int protocol);
int __real_fcntl(int fd, int command, long argument);
int __real_connect(int fd, const sockaddr* address, socklen_t length);
ssize_t __real_read(int fd, void* buffer, size_t length);
ssize_t __real_write(int fd, const void* buffer, size_t length);
int __real_close(int fd);

int __wrap_socket(int domain, int type, int protocol)
{
    return intercept("socket", -1, 0, [=] { return __real_socket(domain, type, protocol); });
}

int __wrap_fcntl(int fd, int command, long argument)
{
    return intercept("fcntl", fd, 0, [=] { return __real_fcntl(fd, command, argument); });
}

// The name of fcntl() on a 32-bit machine with 64-bit file offsets.
int __wrap_fcntl64(int fd, int command, long argument)
{
    return __wrap_fcntl(fd, command, argument);
}

int __wrap_connect(int fd, const sockaddr* address, socklen_t length)
{
    return intercept("connect", fd, length, [=] { return __real_connect(fd, address, length); });
}

ssize_t __wrap_read(int fd, void* buffer, size_t length)
{
    return intercept("read", fd, length, [=] { return __real_read(fd, buffer, length); });
}

ssize_t __wrap_write(int fd, const void* buffer, size_t length)
{
    return intercept("write", fd, length, [=] { return __real_write(fd, buffer, length); });
}

int __wrap_close(int fd)
{
    return intercept("close", fd, 0, [=] { return __real_close(fd); });
}
}
// NOLINTEND(bugprone-reserved-identifier)
