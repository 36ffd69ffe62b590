#ifndef SYSTEM_CALLS_H
#define SYSTEM_CALLS_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Stands between the code under test and the system for the calls on sockets that the current thread makes
// while the object lives: it records them, and a test can put a result in the place of any. The program is
// linked with
// --wrap for each call: see the CMake file.
class SystemCalls
{
public:
    // Asked before each call, with its name and how much it is to transfer. A value is the call's result,
    // with errno as the function left it; nothing lets the call go to the system.
    using Fault = std::function<std::optional<long>(std::string_view name, size_t size)>;

    explicit SystemCalls(Fault fault = nullptr);
    ~SystemCalls();
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;

    // "write 12": without the size where there is none.
    std::vector<std::string> made;
    // Calls that failed with EINTR, in any thread since the start.
    static int interrupted();

    // Used by the wrappers.
    static std::optional<long> before(std::string_view name, int fd, size_t size);
    static void after(long result);

private:
    Fault fault;
};

#endif
