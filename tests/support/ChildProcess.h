// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef CHILDPROCESS_H
#define CHILDPROCESS_H

#include <QString>

#include <functional>
#include <sys/types.h>

// Forks a child that runs work and exits with its result.
pid_t startChild(const std::function<int()>& work);
// Waits for the child and returns its wait status.
int waitForChild(pid_t child);

// The result of work in a child; the negative number of the signal that killed it.
int runInChild(const std::function<int()>& work);

// runInChild() without root's privileges. Root's child gives the directory and all in it to "nobody" and
// becomes that user. UNPRIVILEGED_FAILED when that is not possible.
constexpr int UNPRIVILEGED_FAILED = 125;
int runUnprivileged(const QString& directory, const std::function<int()>& work);

// runInChild() with an empty file system of 64 KB mounted on directory. NO_OWN_DISK when this user may not
// mount.
constexpr int NO_OWN_DISK = 124;
int runOnOwnDisk(const QString& directory, const std::function<int()>& work);
// Remounts it read-only. For the work.
bool makeDiskReadOnly(const QString& directory);

enum class Kill { BeforeCall, NoSuchCall, Failed };

// Runs prepare and then operation in a child process, and kills it just before operation's system call of
// that number, counted from 0. NoSuchCall when operation ended with fewer calls; Failed when the child could
// not be traced.
Kill killBeforeSystemCall(int number, const std::function<void()>& prepare,
                          const std::function<void()>& operation);

#endif
