// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

/* Preloaded into a daemon under test. Its clocks differ from the machine's by what a file says that the test
 * writes while the daemon runs: the date (CLOCK_REALTIME, gettimeofday, time) by the first number, and the
 * time since the start of the machine with its sleep (CLOCK_BOOTTIME) by the second, both in nanoseconds.
 *
 * It also stands in for the kernel's word that the date has jumped: a timer with TFD_TIMER_CANCEL_ON_SET is
 * replaced by a pipe, which becomes readable when the test writes to it. So it shows what the daemon does at
 * that word, not that a kernel gives it. Waiting (epoll_wait and the like) goes by CLOCK_MONOTONIC as ever.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

static const volatile int64_t* shifts;

__attribute__((constructor)) static void openShifts(void)
{
    const char* path = getenv("TIME_SHIFT_FILE");
    const int fd = path == NULL ? -1 : open(path, O_RDONLY | O_CLOEXEC);
    void* file = fd < 0 ? MAP_FAILED : mmap(NULL, 2 * sizeof(int64_t), PROT_READ, MAP_SHARED, fd, 0);
    if (file != MAP_FAILED)
        shifts = file;
    if (fd >= 0)
        close(fd);
}

static void* next(const char* name)
{
    return dlsym(RTLD_NEXT, name);
}

int clock_gettime(clockid_t clock, struct timespec* now)
{
    static int (*real)(clockid_t, struct timespec*);
    if (real == NULL)
        *(void**)&real = next("clock_gettime");
    const int result = real(clock, now);
    if (result != 0 || shifts == NULL)
        return result;
    int64_t shift = 0;
    if (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)
        shift = shifts[0];
    else if (clock == CLOCK_BOOTTIME)
        shift = shifts[1];
    const int64_t second = 1000000000;
    const int64_t total = (int64_t)now->tv_sec * second + now->tv_nsec + shift;
    now->tv_sec = (time_t)(total / second);
    now->tv_nsec = (long)(total % second);
    return 0;
}

int gettimeofday(struct timeval* restrict now, void* restrict zone)
{
    (void)zone;
    struct timespec precise;
    clock_gettime(CLOCK_REALTIME, &precise);
    now->tv_sec = precise.tv_sec;
    now->tv_usec = precise.tv_nsec / 1000;
    return 0;
}

time_t time(time_t* result)
{
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    if (result != NULL)
        *result = now.tv_sec;
    return now.tv_sec;
}

int timerfd_settime(int fd, int flags, const struct itimerspec* time, struct itimerspec* old)
{
    static int (*real)(int, int, const struct itimerspec*, struct itimerspec*);
    if (real == NULL)
        *(void**)&real = next("timerfd_settime");
    const char* path = getenv("TIME_SHIFT_PIPE");
    if (path == NULL || (flags & TFD_TIMER_CANCEL_ON_SET) == 0)
        return real(fd, flags, time, old);
    const int pipe = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (pipe < 0 || dup3(pipe, fd, O_CLOEXEC) < 0)
        return -1;
    return close(pipe);
}
