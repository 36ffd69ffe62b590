// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ChildProcess.h"

#include <QDirIterator>
#include <QFile>

#include <csignal>
#include <cstdio>
#include <sched.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr uid_t NOBODY = 65534;
constexpr int SYSTEM_CALL_STOP = SIGTRAP | 0x80;

bool giveToNobody(const QString& directory)
{
    QStringList paths = {directory};
    QDirIterator all(directory, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext())
        paths.append(all.next());
    for (const QString& path : paths)
        if (lchown(QFile::encodeName(path).constData(), NOBODY, NOBODY) != 0)
            return false;
    return true;
}

bool isStoppedBy(pid_t child, int signal)
{
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFSTOPPED(status) && WSTOPSIG(status) == signal;
}

bool runToNextStop(pid_t child)
{
    return ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) == 0 && isStoppedBy(child, SYSTEM_CALL_STOP);
}

// The number of the system call that the child is about to make; -1 when it is not.
long enteredCall(pid_t child)
{
    struct __ptrace_syscall_info info = {};
    if (ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) <= 0 ||
        info.op != PTRACE_SYSCALL_INFO_ENTRY)
        return -1;
    return static_cast<long>(info.entry.nr);
}

Kill runToCall(pid_t child, int number)
{
    for (int calls = 0;;) {
        if (!runToNextStop(child))
            return Kill::Failed;
        const long call = enteredCall(child);
        if (call == SYS_exit_group)
            return Kill::NoSuchCall;
        if (call >= 0 && calls++ == number)
            return Kill::BeforeCall;
    }
}

} // namespace

pid_t startChild(const std::function<int()>& work)
{
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0)
        _exit(work());
    return child;
}

int waitForChild(pid_t child)
{
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

int runInChild(const std::function<int()>& work)
{
    const int status = waitForChild(startChild(work));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

int runUnprivileged(const QString& directory, const std::function<int()>& work)
{
    const bool isRoot = geteuid() == 0;
    if (isRoot && !giveToNobody(directory))
        return UNPRIVILEGED_FAILED;
    return runInChild([&] {
        if (isRoot && (setgid(NOBODY) != 0 || setuid(NOBODY) != 0))
            return UNPRIVILEGED_FAILED;
        return work();
    });
}

int runOnOwnDisk(const QString& directory, const std::function<int()>& work)
{
    return runInChild([&] {
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("none", QFile::encodeName(directory).constData(), "tmpfs", 0, "size=64k,mode=0700") != 0)
            return NO_OWN_DISK;
        return work();
    });
}

bool makeDiskReadOnly(const QString& directory)
{
    return mount("none", QFile::encodeName(directory).constData(), nullptr, MS_REMOUNT | MS_RDONLY,
                 nullptr) == 0;
}

Kill killBeforeSystemCall(int number, const std::function<void()>& prepare,
                          const std::function<void()>& operation)
{
    const pid_t child = startChild([&] {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            return 1;
        prepare();
        raise(SIGSTOP);
        operation();
        return 0;
    });
    Kill result = Kill::Failed;
    if (isStoppedBy(child, SIGSTOP) &&
        ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL) == 0)
        result = runToCall(child, number);
    kill(child, SIGKILL);
    waitForChild(child);
    return result;
}
