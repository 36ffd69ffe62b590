#include "ProfileWatch.h"

#include "Log.h"
#include "SETUP_SIP_Agent.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <QByteArray>

namespace {

// Editors move the old file away before they write the new one.
constexpr std::chrono::milliseconds settleTime{100};

} // namespace

ProfileWatch::ProfileWatch(EventLoop& loop, std::function<void()> onChanged)
    : inotify_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), settled_(loop, std::move(onChanged))
{
    if (inotify_ >= 0)
        watch_.emplace(loop, inotify_, POLLIN, [this](int) { handleEvents(); });
    watchDirectory();
}

// The directory, since the file is replaced, and may not be there yet.
void ProfileWatch::watchDirectory()
{
    QString path;
    SETUP_SIP_Agent::getSIPSetupPath(path);
    const std::string file = path.toStdString();
    const size_t slash = file.rfind('/');
    fileName_ = file.substr(slash + 1);
    const std::string directory = file.substr(0, slash + 1);
    if (inotify_add_watch(inotify_, directory.c_str(),
                          IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ONLYDIR) < 0)
        ORMU_LOG(ORMU_LEVEL_ERROR, "changes of profiles go unnoticed: %s", std::strerror(errno));
}

void ProfileWatch::handleEvents()
{
    std::array<char, 4096> buffer;
    const ssize_t length = read(inotify_, buffer.data(), buffer.size());
    for (ssize_t offset = 0; offset < length;) {
        inotify_event event = {};
        std::memcpy(&event, buffer.data() + offset, sizeof(event));
        const char* name = buffer.data() + offset + sizeof(event);
        offset += static_cast<ssize_t>(sizeof(event) + event.len);
        if ((event.mask & IN_IGNORED) != 0)
            watchDirectory(); // The directory was removed; this has made it anew.
        else if (event.len == 0 || fileName_ != name)
            continue;
        settled_.set(settleTime);
    }
}
