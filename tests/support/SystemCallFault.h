// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SYSTEMCALLFAULT_H
#define SYSTEMCALLFAULT_H

// The system calls that read and write the settings file. A program that links this file counts all such
// calls, and can make them fail.
enum class SystemCall { Open, CreateTemporary, Read, Write, Fsync, Rename, Link, Lock, Last = Lock };

// The number of calls in this process since the last resetCallCounts().
int callCount(SystemCall call);
void resetCallCounts();

// Makes calls of one kind fail with that errno while it lives: the first passing calls succeed, the next
// failing calls fail. An open fails only when its path ends in path.
class SystemCallFault
{
public:
    static constexpr int ALL = -1;

    SystemCallFault(SystemCall call, int error, int passing = 0, int failing = ALL, const char* path = "");
    ~SystemCallFault();
    SystemCallFault(const SystemCallFault&) = delete;
    SystemCallFault& operator=(const SystemCallFault&) = delete;

    // The number of failed calls.
    int fired() const;

private:
    SystemCall call_;
};

// Limits every write to one byte while it lives.
class ShortWrites
{
public:
    ShortWrites();
    ~ShortWrites();
    ShortWrites(const ShortWrites&) = delete;
    ShortWrites& operator=(const ShortWrites&) = delete;
};

#endif
