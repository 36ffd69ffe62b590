// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef CHILD_PROGRAM_H
#define CHILD_PROGRAM_H

#include <string>
#include <sys/types.h>
#include <vector>

// A program that a test runs. One pipe carries its standard output and error.
class ChildProgram
{
public:
    // The first element of command is the program's path.
    explicit ChildProgram(const std::vector<std::string>& command);
    ~ChildProgram(); // kills the program if it still runs
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    // Blocks until a line is written and returns it without its end; empty when the output is closed.
    std::string readLine();
    // Blocks until the output is closed and returns the rest.
    std::string readRest();
    bool isRunning() const { return child > 0; } // true until wait()
    void signal(int number) const;
    // Blocks until the program ends. Its exit status, or minus the signal that killed it.
    int wait();

private:
    pid_t child = -1;
    int output = -1;
};

#endif
