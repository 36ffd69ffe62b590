#ifndef EVENTLOOP_H
#define EVENTLOOP_H

#include <sofia-sip/su_wait.h>

#include <chrono>
#include <functional>
#include <memory>

// The daemon's one loop, which is the SIP stack's own, and what waits in it. All for the main thread. Nothing
// that is called from the loop may block, and nothing may delete the object whose callback is running: what
// has come to its end is deleted by its owner between two steps.

// The daemon's time, and the stack's while there is an EventLoop. It goes on while the machine sleeps, and
// nobody can set it.
struct BootClock
{
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<BootClock>;
    static constexpr bool is_steady = true;

    static time_point now() noexcept;
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

class FdWatch;

class EventLoop
{
public:
    EventLoop();
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    su_root_t* root() const { return root_; }

    // Waits for something to happen and calls whom it concerns. Also returns when the machine has slept, so
    // that the next step finds the timers that expired meanwhile.
    void step();

    // Has the present step end soon. A step may call before it waits, as it does of timers; whoever leaves
    // something there to be done between two steps says so.
    void wake();

    // The stack waits for events itself while it makes or destroys an agent. Nobody is called while one of
    // these lives; what happens meanwhile is told by the next step.
    class Hold
    {
    public:
        explicit Hold(EventLoop& loop) : loop_(loop) { loop_.isHeld_ = true; }
        ~Hold() { loop_.isHeld_ = false; }
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        EventLoop& loop_;
    };
    bool isHeld() const { return isHeld_; }

private:
    su_root_t* root_;
    const OwnedFd wakeFd_;
    const OwnedFd resumeFd_; // readable when the machine wakes up; -1 when there is none
    std::unique_ptr<FdWatch> wakeWatch_;
    std::unique_ptr<FdWatch> resumeWatch_;
    bool isWoken_ = false;
    bool isHeld_ = false;
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

    EventLoop& loop_;
    const int fd_;
    int events_;
    int index_;
    const std::function<void(int)> onReady_;
};

// Calls once, after a time on the BootClock. It can be set again and again.
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

    EventLoop& loop_;
    su_timer_t* const timer_;
    const std::function<void()> onExpired_;
};

#endif
