// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ProfileWatch.h"

#include "Log.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <list>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>

namespace {

// Editors move the old file away before they write the new one.
constexpr std::chrono::milliseconds SETTLE_TIME{100};
// The file may be written or touched again and again.
constexpr std::chrono::milliseconds LONGEST_SETTLE_TIME{1000};

constexpr uint32_t CHANGES = IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ATTRIB;

// The kernel's own limit.
constexpr int MOST_FOLLOWED_LINKS = 40;

namespace fs = std::filesystem;

// Puts the parts of a path before the others. Returns the directory that they start in.
fs::path prepend(std::list<fs::path>& parts, const fs::path& path, const fs::path& directory)
{
    const fs::path relative = path.relative_path();
    parts.insert(parts.begin(), relative.begin(), relative.end());
    return path.is_absolute() ? path.root_path() : directory;
}

} // namespace

ProfileWatch::ProfileWatch(EventLoop& loop, Clock& clock, std::string path, std::function<void()> onChanged)
    : path_(std::move(path)), inotify_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)),
      onChanged_(std::move(onChanged)), clock_(clock), settled_(clock.makeTimer([this] { report(); }))
{
    if (!inotify_.isOpen()) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "changes of profiles are noticed late: %s", std::strerror(errno));
        return;
    }
    watch_.emplace(loop, inotify_.get(), POLLIN, [this](int) { handleEvents(); });
    watchPath();
}

// Watches each directory before it looks into it, so that no change is missed in between.
void ProfileWatch::watchPath()
{
    const auto former = std::exchange(names_, {});
    isComplete_ = true;
    std::list<fs::path> parts;
    fs::path directory = prepend(parts, path_, {});
    for (int links = 0; !parts.empty() && links < MOST_FOLLOWED_LINKS;) {
        const fs::path name = parts.front();
        parts.pop_front();
        if (name.empty() || name == ".")
            continue;
        if (name != ".." && !watchDirectory(directory, name))
            break;
        std::error_code error;
        const fs::path entry = directory / name;
        if (const fs::path target = fs::read_symlink(entry, error); !error) {
            directory = prepend(parts, target, directory);
            ++links;
        } else
            directory = entry;
    }
    for (const auto& [watch, names] : former) {
        if (!names_.contains(watch))
            inotify_rm_watch(inotify_.get(), watch);
    }
}

// Returns false when there is no such directory. A directory that is not readable cannot be watched.
bool ProfileWatch::watchDirectory(const std::string& directory, const std::string& name)
{
    const int watch = inotify_add_watch(inotify_.get(), directory.c_str(), CHANGES | IN_ONLYDIR);
    if (watch >= 0)
        names_[watch].insert(name);
    else if (errno == ENOENT || errno == ENOTDIR)
        return false;
    else {
        isComplete_ = false;
        ORMU_LOG(ORMU_LEVEL_ERROR, "changes of profiles may go unnoticed: %s", std::strerror(errno));
    }
    return true;
}

bool ProfileWatch::concernsPath(const inotify_event& event, const char* name) const
{
    if ((event.mask & IN_Q_OVERFLOW) != 0)
        return true;
    const auto found = names_.find(event.wd);
    if (found == names_.end())
        return false;
    // The directory is gone or unmounted.
    if ((event.mask & (IN_IGNORED | IN_UNMOUNT)) != 0)
        return true;
    return event.len != 0 && found->second.contains(name);
}

void ProfileWatch::handleEvents()
{
    std::array<char, 4096> buffer;
    bool isConcerned = false;
    ssize_t length = 0;
    while ((length = read(inotify_.get(), buffer.data(), buffer.size())) > 0) {
        for (ssize_t offset = 0; offset < length;) {
            inotify_event event = {};
            std::memcpy(&event, buffer.data() + offset, sizeof(event));
            const char* const name = buffer.data() + offset + sizeof(event);
            offset += static_cast<ssize_t>(sizeof(event) + event.len);
            if (!concernsPath(event, name))
                continue;
            isConcerned = true;
            if ((event.mask & IN_ATTRIB) == 0)
                isReplaced_ = (event.mask & IN_MOVED_TO) != 0;
        }
    }
    if (!isConcerned)
        return;
    watchPath();
    settle();
}

void ProfileWatch::settle()
{
    const auto now = clock_.now();
    if (!firstChange_)
        firstChange_ = now;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*firstChange_ + LONGEST_SETTLE_TIME - now);
    settled_->set(std::clamp(left, std::chrono::milliseconds(0), SETTLE_TIME));
}

void ProfileWatch::catchUp()
{
    if (inotify_.isOpen())
        handleEvents();
    if (!inotify_.isOpen() || isReplaced_)
        report();
}

void ProfileWatch::report()
{
    settled_->stop();
    firstChange_.reset();
    isReplaced_ = false;
    onChanged_();
}
