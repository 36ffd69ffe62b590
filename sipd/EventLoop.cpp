// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "EventLoop.h"

#include "ORMU_Diagnostics.h"

#include <cstdint>
#include <ctime>
#include <limits>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>
#include <utility>

// The stack's hooks for its clock. Its headers do not declare them, and not every release has the latter two.
extern void (*stackTime)(su_time_t*) asm("_su_time");
extern su_time64_t (*stackNanotime)(su_time64_t*) asm("_su_nanotime") __attribute__((weak));
extern su_time64_t (*stackMonotime)(su_time64_t*) asm("_su_monotime") __attribute__((weak));

namespace {

constexpr su_time64_t NANOSECONDS = 1'000'000'000;

// Whole milliseconds: when less than one is left before a timer expires, the stack polls until then.
su_time64_t bootTime()
{
    using std::chrono::duration_cast;
    const auto now = duration_cast<std::chrono::milliseconds>(BootClock::now().time_since_epoch());
    return static_cast<su_time64_t>(duration_cast<std::chrono::nanoseconds>(now).count());
}

// The stack counts from 1900. Its time starts at the machine's date, since the stack derives unique names
// from it.
su_time64_t stackEpoch()
{
    static const su_time64_t epoch = [] {
        const auto date = static_cast<su_time64_t>(std::time(nullptr)) + SU_TIME_EPOCH;
        return date * NANOSECONDS - bootTime();
    }();
    return epoch;
}

su_time64_t giveNanotime(su_time64_t* time)
{
    *time = stackEpoch() + bootTime();
    return *time;
}

su_time64_t giveMonotime(su_time64_t* time)
{
    *time = bootTime();
    return *time;
}

void giveTime(su_time_t* time)
{
    su_time64_t now = 0;
    *time = su_time64_to_time(giveNanotime(&now));
}

void installClock()
{
    stackTime = giveTime;
    if (&stackNanotime != nullptr)
        stackNanotime = giveNanotime;
    if (&stackMonotime != nullptr)
        stackMonotime = giveMonotime;
}

// Waiting for events does not count the time that the machine sleeps. But the date jumps when the machine
// wakes up, and the kernel reports a jump through this kind of timer.
int openResumeFd()
{
    const int fd = timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC);
    itimerspec never = {};
    never.it_value.tv_sec = std::numeric_limits<time_t>::max();
    timerfd_settime(fd, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &never, nullptr);
    return fd;
}

class LoopTimer : public Timer
{
public:
    LoopTimer(EventLoop& loop, std::function<void()> onExpired)
        : loop_(loop), timer_(su_timer_create(su_root_task(loop.root()), 0)), onExpired_(std::move(onExpired))
    {
        ORMU_ASSERT(timer_ != nullptr);
    }
    ~LoopTimer() override { su_timer_destroy(timer_); }
    LoopTimer(const LoopTimer&) = delete;
    LoopTimer& operator=(const LoopTimer&) = delete;

    void set(std::chrono::milliseconds delay) override
    {
        su_timer_set_interval(timer_, expire, this, static_cast<su_duration_t>(delay.count()));
    }
    void stop() override { su_timer_reset(timer_); }

private:
    static void expire(su_root_magic_t* /*magic*/, su_timer_t* /*timer*/, su_timer_arg_t* self)
    {
        auto* const expired = static_cast<LoopTimer*>(self);
        expired->onExpired_();
        expired->loop_.wake();
    }

    EventLoop& loop_;
    su_timer_t* const timer_;
    const std::function<void()> onExpired_;
};

} // namespace

BootClock::time_point BootClock::now() noexcept
{
    timespec now = {};
    if (clock_gettime(CLOCK_BOOTTIME, &now) != 0)
        clock_gettime(CLOCK_MONOTONIC, &now);
    return time_point(std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec));
}

EventLoop::EventLoop() : wakeFd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), resumeFd_(openResumeFd())
{
    installClock();
    su_init();
    root_ = su_root_create(nullptr);
    ORMU_ASSERT(root_ != nullptr && wakeFd_.isOpen());
    // The stack must run in this thread.
    su_root_threading(root_, 0);
    wakeWatch_ = std::make_unique<FdWatch>(*this, wakeFd_.get(), POLLIN, [this](int) {
        eventfd_t count = 0;
        eventfd_read(wakeFd_.get(), &count);
        isWoken_ = false;
    });
    if (!resumeFd_.isOpen())
        return;
    resumeWatch_ = std::make_unique<FdWatch>(*this, resumeFd_.get(), POLLIN, [this](int) {
        uint64_t count = 0;
        [[maybe_unused]] const ssize_t taken = read(resumeFd_.get(), &count, sizeof(count));
    });
}

EventLoop::~EventLoop()
{
    resumeWatch_.reset();
    wakeWatch_.reset();
    su_root_destroy(root_);
    su_deinit();
}

void EventLoop::step()
{
    // Without a sign that the machine has slept, the loop has to look itself.
    constexpr su_duration_t minute = 60'000;
    constexpr su_duration_t day = 1440 * minute;
    su_root_step(root_, resumeFd_.isOpen() ? day : minute);
}

void EventLoop::wake()
{
    if (!std::exchange(isWoken_, true))
        eventfd_write(wakeFd_.get(), 1);
}

BootClock::time_point EventLoop::now() const
{
    return BootClock::now();
}

std::unique_ptr<Timer> EventLoop::makeTimer(std::function<void()> onExpired)
{
    return std::make_unique<LoopTimer>(*this, std::move(onExpired));
}

FdWatch::FdWatch(EventLoop& loop, int fd, int events, std::function<void(int)> onReady)
    : loop_(loop), fd_(fd), events_(events), onReady_(std::move(onReady))
{
    su_wait_t wait[1];
    su_wait_create(wait, fd, events);
    index_ = su_root_register(loop.root(), wait, wake, this, 0);
    ORMU_ASSERT(index_ > 0);
}

FdWatch::~FdWatch()
{
    su_root_deregister(loop_.root(), index_);
}

void FdWatch::setEvents(int events)
{
    if (events == events_)
        return;
    events_ = events;
    su_root_eventmask(loop_.root(), index_, fd_, events);
}

int FdWatch::wake(su_root_magic_t* /*magic*/, su_wait_t* wait, su_wakeup_arg_t* watch)
{
    const auto* const ready = static_cast<const FdWatch*>(watch);
    ready->onReady_(wait->revents);
    return 0;
}
