#ifndef CHILD_PROCESS_H
#define CHILD_PROCESS_H

#include <string>
#include <sys/types.h>
#include <vector>

// A program that a test runs; its standard output and error are read through one pipe.
class ChildProcess
{
public:
    // The first of the command is the program's path.
    explicit ChildProcess(const std::vector<std::string>& command);
    ~ChildProcess(); // kills it if it is still there
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Blocks until it has written a line, and returns that without its end; empty when it has closed its
    // output.
    std::string readLine();
    // Blocks until it has closed its output, and returns the rest.
    std::string readRest();
    void signal(int number) const;
    // Blocks until it has ended: its exit status, or minus the signal that killed it.
    int wait();

private:
    pid_t child = -1;
    int output = -1;
};

#endif
