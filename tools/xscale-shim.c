// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

/* Preloaded into every program that runs under tools/xscale-emulator. Replaces two services of a kernel that
 * the emulator lacks. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <elf.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

/* The emulator cannot create a process descriptor, but can wait for one. QProcess takes the second for the
 * first, and then starts nothing. Without the second it uses process numbers. */
long syscall(long number, ...)
{
    long argument[6];
    va_list arguments;
    va_start(arguments, number);
    for (int i = 0; i < 6; ++i)
        argument[i] = va_arg(arguments, long);
    va_end(arguments);
    if (number == SYS_waitid && argument[0] == P_PIDFD) {
        errno = EINVAL;
        return -1;
    }
    long (*next)(long, ...) = NULL;
    *(void**)&next = dlsym(RTLD_NEXT, "syscall");
    return next(number, argument[0], argument[1], argument[2], argument[3], argument[4], argument[5]);
}

static int isOfThePhone(const char* path)
{
    Elf32_Ehdr head;
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return 0;
    const ssize_t size = read(fd, &head, sizeof head);
    close(fd);
    return size == sizeof head && memcmp(head.e_ident, ELFMAG, SELFMAG) == 0 && head.e_machine == EM_ARM;
}

/* The emulator passes every program to this machine's kernel, which cannot run the phone's programs. */
int execve(const char* path, char* const arguments[], char* const environment[])
{
    int (*next)(const char*, char* const[], char* const[]) = NULL;
    *(void**)&next = dlsym(RTLD_NEXT, "execve");
    if (!isOfThePhone(path))
        return next(path, arguments, environment);

    size_t count = 0;
    while (arguments[count] != NULL)
        ++count;
    const char* emulated[count + 3];
    emulated[0] = EMULATOR;
    emulated[1] = path;
    for (size_t i = 1; i <= count; ++i)
        emulated[i + 1] = arguments[i];
    return next(EMULATOR, (char* const*)emulated, environment);
}

int execv(const char* path, char* const arguments[])
{
    return execve(path, arguments, environ);
}
