// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef REALSERVERPROCESS_H
#define REALSERVERPROCESS_H

#include <string>
#include <sys/types.h>
#include <vector>

// A port of 127.0.0.1 that is free for UDP and TCP, outside the range from which the kernel assigns ports.
int freePort();

// Whether a socket listens on the port of any IPv4 address. transport: "udp" or "tcp".
bool isListening(const std::string& transport, int port);

// A program that a test runs, with its output in a file. The destructor kills it and the processes that it
// has started.
class LoggedProgram
{
public:
    // The first of the command is the program's name or path.
    LoggedProgram(const std::vector<std::string>& command, std::string logPath);
    ~LoggedProgram();
    LoggedProgram(const LoggedProgram&) = delete;
    LoggedProgram& operator=(const LoggedProgram&) = delete;

    bool isRunning();
    void signal(int number) const;
    // Kills it and the processes that it has started.
    void kill();
    // -1 while it runs or when it was killed.
    int exitStatus() const { return exitStatus_; }

    // Its output so far.
    std::string log() const;

private:
    pid_t pid_;
    int exitStatus_ = -1;
    bool isReaped_ = false;
    const std::string logPath_;
};

#endif
