#include "EventLoop.h"

#include "ORMU_Diagnostics.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

EventLoop::EventLoop() : wakeFd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    su_init();
    root_ = su_root_create(nullptr);
    ORMU_ASSERT(root_ != nullptr && wakeFd_ >= 0);
    // Otherwise the stack would run in threads of its own.
    su_root_threading(root_, 0);
    wakeWatch_ = std::make_unique<FdWatch>(*this, wakeFd_, POLLIN, [this](int) {
        eventfd_t count = 0;
        eventfd_read(wakeFd_, &count);
        isWoken_ = false;
    });
}

EventLoop::~EventLoop()
{
    wakeWatch_.reset();
    su_root_destroy(root_);
    su_deinit();
}

void EventLoop::step()
{
    constexpr su_duration_t longestWait = 60'000;
    su_root_step(root_, longestWait);
}

void EventLoop::wake()
{
    if (!std::exchange(isWoken_, true))
        eventfd_write(wakeFd_, 1);
}

OwnedFd::~OwnedFd()
{
    if (fd_ >= 0)
        close(fd_);
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
    if (!ready->loop_.isHeld())
        ready->onReady_(wait->revents);
    return 0;
}

Timer::Timer(EventLoop& loop, std::function<void()> onExpired)
    : loop_(loop), timer_(su_timer_create(su_root_task(loop.root()), 0)), onExpired_(std::move(onExpired))
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
    auto* const expired = static_cast<Timer*>(self);
    if (expired->loop_.isHeld()) {
        expired->set(std::chrono::milliseconds(1));
        return;
    }
    expired->onExpired_();
    expired->loop_.wake();
}
