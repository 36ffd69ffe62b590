#ifndef PROFILEWATCH_H
#define PROFILEWATCH_H

#include "EventLoop.h"

#include <functional>
#include <optional>
#include <string>

// Tells when the settings file of the profiles has been replaced, written or removed.
class ProfileWatch
{
public:
    // Several changes in a short time are told as one.
    ProfileWatch(EventLoop& loop, std::function<void()> onChanged);
    ProfileWatch(const ProfileWatch&) = delete;
    ProfileWatch& operator=(const ProfileWatch&) = delete;

private:
    void watchDirectory();
    void handleEvents();

    std::string fileName_;
    const OwnedFd inotify_;
    Timer settled_;
    std::optional<FdWatch> watch_;
};

#endif
