#ifndef CHILD_PROGRAM_H
#define CHILD_PROGRAM_H

#include <string>
#include <sys/types.h>
#include <vector>

// A program that a test runs; its standard output and error are read through one pipe.
class ChildProgram
{
public:
    // The first of the command is the program's path.
    explicit ChildProgram(const std::vector<std::string>& command);
    ~ChildProgram(); // kills it if it is still there
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    // Blocks until it has written a line, and returns that without its end; empty when it has closed its
    // output.
    std::string readLine();
    // Blocks until it has closed its output, and returns the rest.
    std::string readRest();
    bool isRunning() const { return child > 0; } // or has ended without wait() yet
    void signal(int number) const;
    // Blocks until it has ended: its exit status, or minus the signal that killed it.
    int wait();

private:
    pid_t child = -1;
    int output = -1;
};

#endif
