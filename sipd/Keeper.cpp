// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Keeper.h"

#include "Log.h"
#include "SIPD_Messages.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using std::chrono::milliseconds;

// A daemon that ends earlier is short-lived.
constexpr std::chrono::seconds LONG_LIFE{5};
constexpr milliseconds SHORTEST_START_PAUSE{50};
constexpr milliseconds LONGEST_START_PAUSE{800};
// More than the four seconds that a daemon needs at most.
constexpr std::chrono::seconds DAEMON_END_TIMEOUT{6};
constexpr int NOT_EXECUTED = 127;
constexpr int RETRY_MS = 500;

sigset_t handledSignals()
{
    sigset_t handled;
    sigemptyset(&handled);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD})
        sigaddset(&handled, signal);
    return handled;
}

// The path of this program: tools identify a process by it. If the file is gone, the kernel's link to it.
std::string ownProgram()
{
    std::array<char, PATH_MAX> path;
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    std::string program(path.data(), length < 0 ? 0 : static_cast<size_t>(length));
    return access(program.c_str(), X_OK) == 0 ? program : "/proc/self/exe";
}

milliseconds startPause(int shortLived)
{
    if (shortLived < 2)
        return milliseconds(0);
    return std::min(LONGEST_START_PAUSE, SHORTEST_START_PAUSE * (1 << std::min(shortLived - 2, 10)));
}

int msUntil(BootClock::time_point time)
{
    const auto left = std::chrono::ceil<milliseconds>(time - BootClock::now());
    return std::max(0, static_cast<int>(left.count()));
}

} // namespace

int Keeper::run()
{
    // A command that ends processes by the name sipd must end the daemon only.
    prctl(PR_SET_NAME, "sip-keeper");
    const sigset_t handled = handledSignals();
    sigprocmask(SIG_BLOCK, &handled, nullptr);
    signals_ = FileDescriptor(signalfd(-1, &handled, SFD_CLOEXEC | SFD_NONBLOCK));
    if (const std::string problem = socket_.open(); !problem.empty()) {
        std::fprintf(stderr, "sipd: %s\n", problem.c_str());
        return EXIT_FAILURE;
    }
    start();
    std::printf("listening on %s\n", SIPD_SOCKET_PATH);
    std::fflush(stdout);
    while (endedBy_ == 0) {
        if (daemon_ < 0 && BootClock::now() >= nextStart_)
            start();
        wait();
        handleSignals();
        socket_.handleChange([this] { isUnsent_ = true; });
        isUnsent_ = isUnsent_ && !socket_.sendTo(channel_.get());
    }
    return end();
}

void Keeper::start()
{
    started_ = BootClock::now();
    std::array<int, 2> ends = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) == 0)
        daemon_ = fork();
    if (daemon_ == 0)
        becomeDaemon(ends[1]);
    if (daemon_ < 0) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "the daemon cannot be started: %s", std::strerror(errno));
        planStart();
    }
    close(ends[1]);
    channel_ = FileDescriptor(ends[0]);
}

void Keeper::becomeDaemon(int channel) const
{
    const sigset_t handled = handledSignals();
    sigprocmask(SIG_UNBLOCK, &handled, nullptr);
    // The keeper has printed the line of readiness already.
    dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
    socket_.handOver(channel);
    execv(ownProgram().c_str(), arguments_);
    _exit(NOT_EXECUTED);
}

void Keeper::wait() const
{
    std::array<pollfd, 2> watched = {pollfd{signals_.get(), POLLIN, 0}, pollfd{socket_.watchFd(), POLLIN, 0}};
    int limit = isUnsent_ || socket_.isAway() ? RETRY_MS : -1;
    if (daemon_ < 0)
        limit = msUntil(nextStart_);
    poll(watched.data(), watched.size(), limit);
}

void Keeper::handleSignals()
{
    signalfd_siginfo info;
    while (read(signals_.get(), &info, sizeof(info)) == sizeof(info)) {
        if (info.ssi_signo != SIGCHLD) {
            endedBy_ = static_cast<int>(info.ssi_signo);
            continue;
        }
        int status = 0;
        if (daemon_ > 0 && waitpid(daemon_, &status, WNOHANG) == daemon_)
            handleEnd(status);
    }
}

void Keeper::handleEnd(int status)
{
    daemon_ = -1;
    planStart();
    if (WIFSIGNALED(status))
        ORMU_LOG(ORMU_LEVEL_ERROR, "the daemon was ended by signal %d (%s), and is started anew",
                 WTERMSIG(status), strsignal(WTERMSIG(status)));
    else
        ORMU_LOG(ORMU_LEVEL_ERROR, "the daemon ended with status %d, and is started anew",
                 WEXITSTATUS(status));
}

void Keeper::planStart()
{
    const Time now = BootClock::now();
    shortLived_ = now - started_ < LONG_LIFE ? shortLived_ + 1 : 0;
    nextStart_ = now + startPause(shortLived_);
}

// Frees the path first, as a daemon without a keeper does, so that the next daemon can start at once.
int Keeper::end()
{
    socket_.remove();
    if (daemon_ < 0)
        return EXIT_SUCCESS;
    kill(daemon_, endedBy_);
    const Time limit = BootClock::now() + DAEMON_END_TIMEOUT;
    int status = 0;
    while (waitpid(daemon_, &status, WNOHANG) == 0) {
        const int left = msUntil(limit);
        if (left == 0) {
            ORMU_LOG(ORMU_LEVEL_ERROR, "the daemon does not end, and is killed");
            kill(daemon_, SIGKILL);
            waitpid(daemon_, &status, 0);
            break;
        }
        pollfd watched = {signals_.get(), POLLIN, 0};
        poll(&watched, 1, left);
        signalfd_siginfo info;
        [[maybe_unused]] const ssize_t taken = read(signals_.get(), &info, sizeof(info));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE;
}
