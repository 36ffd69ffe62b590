#ifndef EVENTLOOP_H
#define EVENTLOOP_H

#include <sofia-sip/su_wait.h>

#include <chrono>
#include <functional>

// The daemon's one loop, which is the SIP stack's own, and what waits in it. All for the main thread. Nothing
// that is called from the loop may block, and nothing may delete the object whose callback is running: what
// has come to its end is deleted by its owner between two steps.

class EventLoop
{
public:
    EventLoop();
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    su_root_t* root() const { return root_; }

    // Waits for something to happen and calls whom it concerns.
    void step();

private:
    su_root_t* root_;
};

// A descriptor, which is closed with its owner. It must outlive whoever watches it.
class OwnedFd
{
public:
    explicit OwnedFd(int fd) : fd_(fd) {}
    ~OwnedFd();
    OwnedFd(const OwnedFd&) = delete;
    OwnedFd& operator=(const OwnedFd&) = delete;

    operator int() const { return fd_; }

private:
    const int fd_;
};

// Calls when a descriptor, which stays its owner's, is ready. Stops with its end.
class FdWatch
{
public:
    // events and what onReady is given: POLLIN, POLLOUT; POLLERR and POLLHUP come unasked.
    FdWatch(EventLoop& loop, int fd, int events, std::function<void(int)> onReady);
    ~FdWatch();
    FdWatch(const FdWatch&) = delete;
    FdWatch& operator=(const FdWatch&) = delete;

    void setEvents(int events);

private:
    static int wake(su_root_magic_t* magic, su_wait_t* wait, su_wakeup_arg_t* watch);

    su_root_t* const root_;
    const int fd_;
    int events_;
    int index_;
    const std::function<void(int)> onReady_;
};

// Calls once, after a time. It can be set again and again.
class Timer
{
public:
    Timer(EventLoop& loop, std::function<void()> onExpired);
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    // In place of what it was set to before.
    void set(std::chrono::milliseconds delay);
    void stop();

private:
    static void expire(su_root_magic_t* magic, su_timer_t* timer, su_timer_arg_t* self);

    su_timer_t* const timer_;
    const std::function<void()> onExpired_;
};

#endif
