#ifndef REALSERVERPROCESS_H
#define REALSERVERPROCESS_H

#include <string>
#include <sys/types.h>
#include <vector>

// Whether nobody has the port of 127.0.0.1, neither for UDP nor for TCP.
bool isPortFree(int port);

// A port of 127.0.0.1 that nobody has, for UDP and TCP, outside the range from which the kernel gives them
// out.
int freePort();

// A program that a test runs, with its output in a file. It and the processes that it starts are killed with
// this object.
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
    // Ends it and what it started, at once.
    void kill();
    // -1 while it runs or when it was killed.
    int exitStatus() const { return exitStatus_; }

    // What it has written so far.
    std::string log() const;

private:
    pid_t pid_;
    int exitStatus_ = -1;
    bool isReaped_ = false;
    const std::string logPath_;
};

#endif
