// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef EVENTLOOP_H
#define EVENTLOOP_H

#include "Clock.h"
#include "FileDescriptor.h"

#include <sofia-sip/su_wait.h>

#include <functional>
#include <memory>

class FdWatch;

// The daemon's event loop, which is the SIP stack's own. Main thread only.
//
// A callback from the loop must not block, and must not delete the object that it belongs to: owners delete
// objects between two steps.
class EventLoop : public Clock
{
public:
    EventLoop();
    ~EventLoop() override;
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    su_root_t* root() const { return root_; }

    // Waits up to a day for an event and calls its handlers. Also returns when the machine has slept: the
    // next step finds the timers that expired meanwhile.
    void step();

    // Makes step() return soon. Call it from a callback that leaves work for the code between two steps:
    // timers run before step() waits.
    void wake();

    BootClock::time_point now() const override;
    std::unique_ptr<Timer> makeTimer(std::function<void()> onExpired) override;

private:
    su_root_t* root_;
    const FileDescriptor wakeFd_;
    const FileDescriptor resumeFd_; // readable when the machine wakes up; -1 when the kernel has none
    std::unique_ptr<FdWatch> wakeWatch_;
    std::unique_ptr<FdWatch> resumeWatch_;
    bool isWoken_ = false;
};

// Calls onReady when a descriptor is ready. Does not own the descriptor. The destructor ends the watch.
class FdWatch
{
public:
    // events: POLLIN, POLLOUT. onReady receives the events that occurred, POLLERR and POLLHUP among them.
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

#endif
