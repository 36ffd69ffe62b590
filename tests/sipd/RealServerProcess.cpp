#include "RealServerProcess.h"

#include <arpa/inet.h>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

constexpr int FIRST_PORT = 20000;
constexpr int LAST_PORT = 32000;

bool isFree(int type, int port)
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

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

int freePort()
{
    static int next = FIRST_PORT + getpid() % (LAST_PORT - FIRST_PORT);
    do {
        next = next == LAST_PORT ? FIRST_PORT : next + 1;
    } while (!isFree(SOCK_STREAM, next) || !isFree(SOCK_DGRAM, next));
    return next;
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
