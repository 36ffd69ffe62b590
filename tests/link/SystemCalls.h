// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SYSTEM_CALLS_H
#define SYSTEM_CALLS_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Intercepts the system calls on sockets that the current thread makes while the object lives: records
// them, and lets a test set the result of any. The program is linked with --wrap for each call
// (CMakeLists.txt).
class SystemCalls
{
public:
    // Called before each system call with its name and the size of its transfer. A value becomes the call's
    // result, with the errno that the function set; no value lets the call reach the system.
    using Fault = std::function<std::optional<long>(std::string_view name, size_t size)>;

    explicit SystemCalls(Fault fault = nullptr);
    ~SystemCalls();
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;

    // "write 12", or "socket" for a call without a size.
    std::vector<std::string> made;
    // The calls that failed with EINTR, in any thread since the start.
    static int interrupted();

    // For the wrappers.
    static std::optional<long> before(std::string_view name, int fd, size_t size);
    static void after(long result);

private:
    Fault fault;
};

#endif
