#ifndef CHILDPROCESS_H
#define CHILDPROCESS_H

#include <QString>

#include <functional>
#include <sys/types.h>

// Runs work in a child of this process, which ends with what it returns. The child is forked: what it needs
// must be there before.
pid_t startChild(const std::function<int()>& work);
// Waits for the child and returns its wait status.
int waitForChild(pid_t child);

// What work returned in the child; a negative number when a signal ended it.
int runInChild(const std::function<int()>& work);

// runInChild() as a user whom file modes bind. A test that runs as root becomes "nobody" there, to whom the
// directory and all in it are given first. UNPRIVILEGED_FAILED when that is not possible.
constexpr int UNPRIVILEGED_FAILED = 125;
int runUnprivileged(const QString& directory, const std::function<int()>& work);

// runInChild() where directory is an empty disk of its own with room for 64 KB. NO_OWN_DISK when this user
// may not have one.
constexpr int NO_OWN_DISK = 124;
int runOnOwnDisk(const QString& directory, const std::function<int()>& work);
// Makes that disk one that can only be read. For the work.
bool makeDiskReadOnly(const QString& directory);

enum class Kill { BeforeCall, NoSuchCall, Failed };

// Runs prepare and then operation in a child process, and kills it just before the system call of operation
// with that number, counted from 0. NoSuchCall when operation came to its end with fewer calls; Failed when
// the child could not be traced or ended in another way.
Kill killBeforeSystemCall(int number, const std::function<void()>& prepare,
                          const std::function<void()>& operation);

#endif
