// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef PROFILEWATCH_H
#define PROFILEWATCH_H

#include "EventLoop.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

struct inotify_event;

// Reports when the settings file may have changed: it, or a directory or symbolic link in its path, has been
// replaced, written, removed or made readable. None of them needs to exist.
class ProfileWatch
{
public:
    // path: the file's absolute path. Reports several changes in a short time as one, within a second of the
    // first.
    ProfileWatch(EventLoop& loop, Clock& clock, std::string path, std::function<void()> onChanged);
    ProfileWatch(const ProfileWatch&) = delete;
    ProfileWatch& operator=(const ProfileWatch&) = delete;

    // Reports a replacement of the file at once. Does not report a file that is being written in place: it
    // may be incomplete. Without a watch, every call reports a change.
    void catchUp();

    // A change has been noticed and not been reported yet.
    bool isSettling() const { return firstChange_.has_value(); }
    // Every change is noticed.
    bool isComplete() const { return isComplete_; }

private:
    void watchPath();
    bool watchDirectory(const std::string& directory, const std::string& name);
    void handleEvents();
    void settle();
    void report();
    bool concernsPath(const inotify_event& event, const char* name) const;

    const std::string path_;
    const FileDescriptor inotify_;
    std::map<int, std::set<std::string>> names_;       // names in the path, by the watch of their directory
    bool isReplaced_ = false;                          // the last unreported change was a replacement
    bool isComplete_ = false;                          // every directory in the path is watched
    std::optional<BootClock::time_point> firstChange_; // that is unreported
    const std::function<void()> onChanged_;
    Clock& clock_;
    const std::unique_ptr<Timer> settled_;
    std::optional<FdWatch> watch_;
};

#endif
