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
    const auto result = SystemCalls::before("socket", -1, 0);
    return result ? static_cast<int>(*result) : __real_socket(domain, type, protocol);
}

int __wrap_fcntl(int fd, int command, long argument)
{
    const auto result = SystemCalls::before("fcntl", fd, 0);
    return result ? static_cast<int>(*result) : __real_fcntl(fd, command, argument);
}

int __wrap_connect(int fd, const sockaddr* address, socklen_t length)
{
    const auto result = SystemCalls::before("connect", fd, length);
    const int returned = result ? static_cast<int>(*result) : __real_connect(fd, address, length);
    SystemCalls::after(returned);
    return returned;
}

// The name of fcntl() on a 32-bit machine with 64-bit file offsets.
int __wrap_fcntl64(int fd, int command, long argument)
{
    return __wrap_fcntl(fd, command, argument);
}

ssize_t __wrap_read(int fd, void* buffer, size_t length)
{
    const auto result = SystemCalls::before("read", fd, length);
    const ssize_t returned = result ? *result : __real_read(fd, buffer, length);
    SystemCalls::after(returned);
    return returned;
}

ssize_t __wrap_write(int fd, const void* buffer, size_t length)
{
    const auto result = SystemCalls::before("write", fd, length);
    const ssize_t returned = result ? *result : __real_write(fd, buffer, length);
    SystemCalls::after(returned);
    return returned;
}

int __wrap_close(int fd)
{
    const auto result = SystemCalls::before("close", fd, 0);
    return result ? static_cast<int>(*result) : __real_close(fd);
}
}
// NOLINTEND(bugprone-reserved-identifier)
