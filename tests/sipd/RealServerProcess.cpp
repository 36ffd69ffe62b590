// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "RealServerProcess.h"

#include <arpa/inet.h>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int FIRST_PORT = 20000;
constexpr int LAST_PORT = 32000;

bool isFreeFor(int type, int port)
{
    const int fd = socket(AF_INET, type | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool isOurs = bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    close(fd);
    return isOurs;
}

[[noreturn]] void execute(const std::vector<std::string>& command, const std::string& logPath)
{
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const int log = open(logPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    dup2(log, STDOUT_FILENO);
    dup2(log, STDERR_FILENO);
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

} // namespace

int freePort()
{
    static int next = FIRST_PORT + getpid() % (LAST_PORT - FIRST_PORT);
    do {
        next = next == LAST_PORT ? FIRST_PORT : next + 1;
    } while (!isFreeFor(SOCK_STREAM, next) || !isFreeFor(SOCK_DGRAM, next));
    return next;
}

bool isListening(const std::string& transport, int port)
{
    // Each line has the number, the address and port of both ends, and the state, in hexadecimal digits.
    std::ifstream table("/proc/net/" + transport);
    const unsigned int listening = transport == "tcp" ? 0x0a : 0x07;
    for (std::string line; std::getline(table, line);) {
        unsigned int localPort = 0;
        unsigned int state = 0;
        if (std::sscanf(line.c_str(), " %*d: %*x:%x %*x:%*x %x", &localPort, &state) == 2 &&
            localPort == static_cast<unsigned int>(port) && state == listening)
            return true;
    }
    return false;
}

LoggedProgram::LoggedProgram(const std::vector<std::string>& command, std::string logPath)
    : pid_(fork()), logPath_(std::move(logPath))
{
    if (pid_ == 0)
        execute(command, logPath_);
    setpgid(pid_, pid_); // whichever of the two comes first
}

LoggedProgram::~LoggedProgram()
{
    kill();
}

bool LoggedProgram::isRunning()
{
    int status = 0;
    if (!isReaped_ && waitpid(pid_, &status, WNOHANG) == pid_) {
        isReaped_ = true;
        exitStatus_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    return !isReaped_;
}

void LoggedProgram::signal(int number) const
{
    if (!isReaped_)
        ::kill(pid_, number);
}

void LoggedProgram::kill()
{
    if (isReaped_)
        return;
    ::kill(-pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    isReaped_ = true;
}

std::string LoggedProgram::log() const
{
    std::ifstream file(logPath_);
    return {std::istreambuf_iterator<char>(file), {}};
}
