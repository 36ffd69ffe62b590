// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// demo-registrar: a SIP registrar with a few accounts, on the loopback alone.
#include "PrivateMemory.h"
#include "Registrar.h"

#include <sofia-sip/su.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Options
{
    int port = DEFAULT_PORT;
    Accounts accounts;
};

int usage(std::FILE* stream)
{
    std::fprintf(
        stream,
        "usage: demo-registrar [--port N] [--account FILE]...\n"
        "\n"
        "A SIP registrar on the loopback, over UDP and TCP, to try the phone with. It tells of every\n"
        "binding that comes and goes, and of every refusal, and ends at Ctrl-C.\n"
        "\n"
        "  --port N        its port (%d)\n"
        "  --account FILE  more accounts, or other passwords: FILE, which nobody else may read, has a line\n"
        "                  USER:PASSWORD for each\n"
        "  --help          print this\n"
        "  --version       print the version\n"
        "\n"
        "Accounts: anna and reception, with the password \"secret\", can register; ben has another\n"
        "password; banned is refused, busy is told that the server is busy, silent gets no answer.\n",
        DEFAULT_PORT);
    return stream == stdout ? 0 : 2;
}

bool readPort(const char* text, int& port)
{
    const char* end = text + std::strlen(text);
    const auto [last, error] = std::from_chars(text, end, port);
    return error == std::errc{} && last == end && port >= 1 && port <= 65535;
}

// Empty, or what is wrong with the file of accounts. A line is named by its number: it may hold a password.
std::string addAccounts(std::FILE* file, Accounts& accounts)
{
    struct stat status;
    if (fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode) && (status.st_mode & 0077) != 0)
        return "others may read it; chmod 600 helps";
    std::array<char, 1024> line;
    for (int number = 1; std::fgets(line.data(), line.size(), file) != nullptr; ++number) {
        std::string_view account = line.data();
        account = account.substr(0, account.find_last_not_of("\r\n") + 1);
        if (!account.empty() && !accounts.add(account))
            return "line " + std::to_string(number) + " is not USER:PASSWORD";
    }
    return std::ferror(file) != 0 ? std::strerror(errno) : "";
}

bool readAccounts(const char* path, Accounts& accounts)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path, "re"), std::fclose);
    const std::string problem = file ? addAccounts(file.get(), accounts) : std::strerror(errno);
    if (!problem.empty())
        std::fprintf(stderr, "demo-registrar: the file of accounts: %s\n", problem.c_str());
    return problem.empty();
}

// Fails without naming the value, which may be a password.
bool readOption(std::string_view name, const char* value, Options& options)
{
    if (value != nullptr && name == "--port" && readPort(value, options.port))
        return true;
    if (value != nullptr && name == "--account")
        return readAccounts(value, options.accounts);
    std::fprintf(stderr, "demo-registrar: wrong or unknown option %.*s\n", static_cast<int>(name.size()),
                 name.data());
    return false;
}

// A descriptor that becomes readable when the process is told to end.
int endSignals()
{
    sigset_t ends;
    sigemptyset(&ends);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&ends, signal);
    sigprocmask(SIG_BLOCK, &ends, nullptr);
    return signalfd(-1, &ends, SFD_CLOEXEC | SFD_NONBLOCK);
}

int serveUntilTold(su_root_t* root, const Options& options)
{
    Registrar registrar(root, options.accounts);
    if (!registrar.listen(options.port)) {
        std::fprintf(stderr, "demo-registrar: cannot have port %d of 127.0.0.1; --port takes another\n",
                     options.port);
        return 1;
    }
    std::printf("listening on 127.0.0.1 port %d\n", options.port);
    su_root_run(root);
    return 0;
}

int serve(const Options& options)
{
    su_root_t* root = su_root_create(nullptr);
    su_wait_t ended = SU_WAIT_INIT;
    if (su_wait_create(&ended, endSignals(), SU_WAIT_IN) != 0)
        return 1;
    su_root_register(
        root, &ended,
        [](su_root_magic_t*, su_wait_t*, su_wakeup_arg_t* stopped) {
            su_root_break(static_cast<su_root_t*>(stopped));
            return 0;
        },
        root, 0);
    const int status = serveUntilTold(root, options);
    su_root_unregister(root, &ended, nullptr, root);
    su_root_destroy(root);
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    keepMemoryPrivate();
    umask(0077);
    Options options;
    for (int i = 1; i < argc; i += 2) {
        if (std::strcmp(argv[i], "--help") == 0)
            return usage(stdout);
        if (std::strcmp(argv[i], "--version") == 0)
            return std::puts("demo-registrar " ORMU_VERSION) < 0 ? 1 : 0;
        if (!readOption(argv[i], argv[i + 1], options))
            return usage(stderr);
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    su_init();
    const int status = serve(options);
    su_deinit();
    return status;
}
