// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef CLOCK_H
#define CLOCK_H

#include <chrono>
#include <functional>
#include <memory>

// The time since the machine started. It includes the time that the machine sleeps, and nobody can set it.
struct BootClock
{
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<BootClock>;
    static constexpr bool is_steady = true;

    static time_point now() noexcept;
};

// Calls a function once, after a delay. Can be set again. The destructor stops it.
class Timer
{
public:
    virtual ~Timer() = default;

    // Replaces the former delay.
    virtual void set(std::chrono::milliseconds delay) = 0;
    virtual void stop() = 0;
};

// The source of time and timers. EventLoop is the real one; tests have one in virtual time.
class Clock
{
public:
    virtual ~Clock() = default;

    virtual BootClock::time_point now() const = 0;
    // The timer must not outlive the clock.
    virtual std::unique_ptr<Timer> makeTimer(std::function<void()> onExpired) = 0;
};

#endif
