#include "EventLoop.h"

#include "ORMU_Diagnostics.h"

#include <unistd.h>
#include <utility>

EventLoop::EventLoop()
{
    su_init();
    root_ = su_root_create(nullptr);
    ORMU_ASSERT(root_ != nullptr);
    // Otherwise the stack would run in threads of its own.
    su_root_threading(root_, 0);
}

EventLoop::~EventLoop()
{
    su_root_destroy(root_);
    su_deinit();
}

void EventLoop::step()
{
    constexpr su_duration_t longestWait = 60'000;
    su_root_step(root_, longestWait);
}

OwnedFd::~OwnedFd()
{
    if (fd_ >= 0)
        close(fd_);
}

FdWatch::FdWatch(EventLoop& loop, int fd, int events, std::function<void(int)> onReady)
    : root_(loop.root()), fd_(fd), events_(events), onReady_(std::move(onReady))
{
    su_wait_t wait[1];
    su_wait_create(wait, fd, events);
    index_ = su_root_register(root_, wait, wake, this, 0);
    ORMU_ASSERT(index_ > 0);
}

FdWatch::~FdWatch()
{
    su_root_deregister(root_, index_);
}

void FdWatch::setEvents(int events)
{
    if (events == events_)
        return;
    events_ = events;
    su_root_eventmask(root_, index_, fd_, events);
}

int FdWatch::wake(su_root_magic_t* /*magic*/, su_wait_t* wait, su_wakeup_arg_t* watch)
{
    static_cast<FdWatch*>(watch)->onReady_(wait->revents);
    return 0;
}

Timer::Timer(EventLoop& loop, std::function<void()> onExpired)
    : timer_(su_timer_create(su_root_task(loop.root()), 0)), onExpired_(std::move(onExpired))
{
    ORMU_ASSERT(timer_ != nullptr);
}

Timer::~Timer()
{
    su_timer_destroy(timer_);
}

void Timer::set(std::chrono::milliseconds delay)
{
    su_timer_set_interval(timer_, expire, this, static_cast<su_duration_t>(delay.count()));
}

void Timer::stop()
{
    su_timer_reset(timer_);
}

void Timer::expire(su_root_magic_t* /*magic*/, su_timer_t* /*timer*/, su_timer_arg_t* self)
{
    static_cast<Timer*>(self)->onExpired_();
}
