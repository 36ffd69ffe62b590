#include "AssertionOf.h"

#include <csignal>
#include <cstdio>
#include <fstream>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// What the emulator of the phone's processor adds to the last words of a program.
constexpr std::string_view EMULATORS_WORD = "qemu: uncaught target signal 6 (Aborted) - core dumped\n";

[[noreturn]] void runChild(const std::function<void()>& action, int output)
{
    const rlimit noCore = {};
    setrlimit(RLIMIT_CORE, &noCore);
    std::signal(SIGABRT, SIG_DFL);
    dup2(output, STDERR_FILENO);
    action();
    _exit(0);
}

std::string readAll(int fd)
{
    std::string text;
    char buffer[512];
    for (ssize_t count = 0; (count = read(fd, buffer, sizeof(buffer))) > 0;)
        text.append(buffer, static_cast<size_t>(count));
    return text;
}

} // namespace

std::string assertionOf(const std::function<void()>& action)
{
    int ends[2];
    if (pipe(ends) != 0)
        return "no pipe";
    const pid_t child = fork();
    if (child == 0)
        runChild(action, ends[1]);
    close(ends[1]);
    std::string written = readAll(ends[0]);
    if (written.ends_with(EMULATORS_WORD))
        written.resize(written.size() - EMULATORS_WORD.size());
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFSIGNALED(status) || WTERMSIG(status) != SIGABRT)
        return "not aborted; wrote: " + written;

    char file[64] = {};
    int line = 0;
    int end = 0;
    if (std::sscanf(written.c_str(), "{1} %63[^:]:%d%n", file, &line, &end) != 2 ||
        written.substr(static_cast<size_t>(end)) != "\tormu assert failed !\n\n")
        return "wrote: " + written;
    return sourceLine(file, line);
}

std::string sourceLine(const std::string& file, int line)
{
    std::ifstream source(std::string(LINK_SOURCE_DIRECTORY "/") + file);
    std::string text;
    for (int i = 0; i < line; ++i)
        std::getline(source, text);
    const size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first);
}
