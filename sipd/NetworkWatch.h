// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef NETWORKWATCH_H
#define NETWORKWATCH_H

#include "Clock.h"
#include "EventLoop.h"
#include "FileDescriptor.h"

#include <functional>
#include <memory>
#include <optional>

// Tells that this machine's addresses, routes or interfaces have changed, as the kernel reports it.
class NetworkWatch
{
public:
    // Calls onChanged from the loop, at most 0.2 seconds after a change.
    NetworkWatch(EventLoop& loop, Clock& clock, std::function<void()> onChanged);

private:
    void handleMessages();

    const FileDescriptor netlink_;
    const std::unique_ptr<Timer> settled_;
    bool isSettling_ = false;
    std::optional<FdWatch> watch_;
};

#endif
