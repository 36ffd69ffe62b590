// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ChildProgram.h"

#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

ChildProgram::ChildProgram(const std::vector<std::string>& command)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return;
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        dup2(ends[1], STDERR_FILENO);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    close(ends[1]);
    output = ends[0];
}

ChildProgram::~ChildProgram()
{
    if (isRunning()) {
        signal(SIGKILL);
        wait();
    }
    close(output);
}

std::string ChildProgram::readLine()
{
    std::string line;
    for (char c = 0; read(output, &c, 1) == 1 && c != '\n';)
        line += c;
    return line;
}

std::string ChildProgram::readRest()
{
    std::string rest;
    for (char c = 0; read(output, &c, 1) == 1;)
        rest += c;
    return rest;
}

void ChildProgram::signal(int number) const
{
    kill(child, number);
}

int ChildProgram::wait()
{
    int status = 0;
    waitpid(child, &status, 0);
    child = -1;
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}
