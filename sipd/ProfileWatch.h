#ifndef PROFILEWATCH_H
#define PROFILEWATCH_H

#include "EventLoop.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

struct inotify_event;

// Tells when the settings file may have changed: it has been replaced, written, removed or made readable, or
// a directory or a symbolic link on the way to it has. None of them needs to be there.
class ProfileWatch
{
public:
    // path is the file's, and absolute. Several changes in a short time are told as one, at most a second
    // after the first.
    ProfileWatch(EventLoop& loop, Clock& clock, std::string path, std::function<void()> onChanged);
    ProfileWatch(const ProfileWatch&) = delete;
    ProfileWatch& operator=(const ProfileWatch&) = delete;

    // When the file has been replaced by now, tells so at once. A file that is written in its place, and may
    // be half done, is told of in time. Without a watch, every call tells of a change.
    void catchUp();

    // A change that has been noticed is still to be told.
    bool isSettling() const { return firstChange_.has_value(); }
    // No change of the file goes unnoticed.
    bool isComplete() const { return isComplete_; }

private:
    void watchWay();
    bool watchDirectory(const std::string& directory, const std::string& name);
    void handleEvents();
    void settle();
    void tell();
    bool concernsWay(const inotify_event& event, const char* name) const;

    const std::string path_;
    const OwnedFd inotify_;
    std::map<int, std::set<std::string>> names_; // on the way, by the watch of the directory that they are in
    bool isReplaced_ = false;                    // by the last change that is to be told
    bool isComplete_ = false;                    // every directory on the way is watched
    std::optional<BootClock::time_point> firstChange_; // of those that are to be told
    const std::function<void()> onChanged_;
    Clock& clock_;
    const std::unique_ptr<Timer> settled_;
    std::optional<FdWatch> watch_;
};

#endif
