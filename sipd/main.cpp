// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// sipd: the SIP daemon. Registers the phone's SIP profiles with their servers, for the clients of its socket.

#include "Daemon.h"
#include "DaemonSocket.h"
#include "Keeper.h"
#include "Log.h"
#include "PrivateMemory.h"

#include <sofia-sip/su_log.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <getopt.h>
#include <optional>
#include <string>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int USAGE_ERROR = 2;
constexpr int LONGEST_EXPIRY = 86400;

struct Options
{
    SipSettings settings;
    bool isKept = false;
};

// The exit status, when there is nothing more to do.
using ExitStatus = std::optional<int>;

struct OptionRow
{
    const char* name;
    char letter;          // 0 without a short form
    const char* argument; // null without one
    const char* help;     // lines after the first are indented
    ExitStatus (*apply)(Options& options, const char* argument);
};

int printUsage(std::FILE* stream);

ExitStatus setCaFile(Options& options, const char* file)
{
    options.settings.caFile = file;
    if (access(file, R_OK) == 0)
        return std::nullopt;
    std::fprintf(stderr, "sipd: %s: %s\n", file, std::strerror(errno));
    return EXIT_FAILURE;
}

ExitStatus setExpiry(Options& options, const char* text)
{
    int seconds = 0;
    const char* const end = text + std::strlen(text);
    const auto [parsed, error] = std::from_chars(text, end, seconds);
    if (error != std::errc() || parsed != end || seconds < 1 || seconds > LONGEST_EXPIRY) {
        std::fprintf(stderr, "sipd: --expires takes 1 to %d seconds\n", LONGEST_EXPIRY);
        return USAGE_ERROR;
    }
    options.settings.expires = std::chrono::seconds(seconds);
    return std::nullopt;
}

ExitStatus setKept(Options& options, const char* /*argument*/)
{
    options.isKept = true;
    return std::nullopt;
}

ExitStatus ignoreNat(Options& options, const char* /*argument*/)
{
    options.settings.followsNat = false;
    return std::nullopt;
}

ExitStatus setVerbose(Options& /*options*/, const char* /*argument*/)
{
    detailedLog = true;
    return std::nullopt;
}

ExitStatus printHelp(Options& /*options*/, const char* /*argument*/)
{
    return printUsage(stdout);
}

ExitStatus printVersion(Options& /*options*/, const char* /*argument*/)
{
    std::puts("sipd " ORMU_VERSION);
    return EXIT_SUCCESS;
}

constexpr std::array OPTIONS = {
    OptionRow{"ca-file", 0, "FILE",
              "trust the certificates in FILE for TLS, instead of the\n"
              "system's",
              setCaFile},
    OptionRow{"expires", 0, "SECONDS", "ask servers for registrations of this length (default 3600)",
              setExpiry},
    OptionRow{"keep-running", 0, nullptr, "hold the socket, and start the daemon again whenever it ends",
              setKept},
    OptionRow{"no-nat", 0, nullptr,
              "register this machine's own addresses even behind a NAT,\nand do not keep the NAT open",
              ignoreNat},
    OptionRow{"verbose", 'v', nullptr, "log more", setVerbose},
    OptionRow{"help", 0, nullptr, "print this and exit", printHelp},
    OptionRow{"version", 0, nullptr, "print the version and exit", printVersion},
};

int printUsage(std::FILE* stream)
{
    std::fputs("usage: sipd [OPTION]...\n"
               "Registers SIP profiles with their servers, for the clients of " SIPD_SOCKET_PATH ".\n\n",
               stream);
    for (const OptionRow& row : OPTIONS) {
        std::string head = row.letter == 0 ? "" : std::string{'-', row.letter, ',', ' '};
        head += std::string("--") + row.name;
        if (row.argument != nullptr)
            head += std::string(" ") + row.argument;
        for (const char* line = row.help; *line != '\0'; head.clear()) {
            const int length = static_cast<int>(std::strcspn(line, "\n"));
            std::fprintf(stream, "  %-17s  %.*s\n", head.c_str(), length, line);
            line += line[length] == '\n' ? length + 1 : length;
        }
    }
    return stream == stdout ? EXIT_SUCCESS : USAGE_ERROR;
}

ExitStatus parseCommandLine(int argc, char** argv, Options& options)
{
    std::array<option, OPTIONS.size() + 1> longOptions = {};
    std::string letters;
    for (size_t i = 0; i < OPTIONS.size(); ++i) {
        const OptionRow& row = OPTIONS[i];
        longOptions[i] = {row.name, row.argument == nullptr ? no_argument : required_argument, nullptr, 0};
        if (row.letter != 0)
            letters += row.letter;
    }
    int index = 0;
    for (int choice = 0;
         (choice = getopt_long(argc, argv, letters.c_str(), longOptions.data(), &index)) != -1;) {
        if (choice == '?')
            return printUsage(stderr);
        const auto* const row =
            choice == 0 ? &OPTIONS[static_cast<size_t>(index)]
                        : std::ranges::find(OPTIONS, static_cast<char>(choice), &OptionRow::letter);
        if (const ExitStatus status = row->apply(options, optarg))
            return status;
    }
    return optind < argc ? ExitStatus(printUsage(stderr)) : std::nullopt;
}

// Blocks the signals that end the daemon, in the threads to come too, and returns a signalfd for them.
FileDescriptor openEndSignals()
{
    sigset_t ends;
    sigemptyset(&ends);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&ends, signal);
    sigprocmask(SIG_BLOCK, &ends, nullptr);
    // The stack and the TLS library write to connections that a server may have closed.
    std::signal(SIGPIPE, SIG_IGN);
    return FileDescriptor(signalfd(-1, &ends, SFD_CLOEXEC | SFD_NONBLOCK));
}

// The stack would log the content of messages and profiles.
void discardStackLog(void* /*stream*/, const char* /*format*/, va_list /*arguments*/) {}

int runDaemon(const SipSettings& settings)
{
    const FileDescriptor endSignals = openEndSignals();
    DaemonSocket socket;
    if (const std::string problem = socket.open(); !problem.empty()) {
        std::fprintf(stderr, "sipd: %s\n", problem.c_str());
        return EXIT_FAILURE;
    }
    Daemon daemon(socket, endSignals.get(), settings);
    if (daemon.run())
        return EXIT_SUCCESS;
    // Neither the stack nor a thread that waits for DNS can be stopped in an orderly way.
    ORMU_LOG(ORMU_LEVEL_ERROR, "ended without the answer of a server or of DNS");
    std::_Exit(EXIT_SUCCESS);
}

// Keeps descriptors that are opened later from getting the numbers of closed standard streams.
void openStandardDescriptors()
{
    int fd = 0;
    while (fd >= 0 && fd <= STDERR_FILENO)
        fd = open("/dev/null", O_RDWR);
    if (fd > STDERR_FILENO)
        close(fd);
}

} // namespace

int main(int argc, char** argv)
{
    openStandardDescriptors();
    keepMemoryPrivate();
    umask(0077);
    Options options;
    options.settings.product = "sipd/" ORMU_VERSION;
    if (const ExitStatus status = parseCommandLine(argc, argv, options))
        return *status;
    if (options.isKept && !DaemonSocket::isKept())
        return Keeper(argv).run();
    su_log_redirect(nullptr, discardStackLog, nullptr);
    return runDaemon(options.settings);
}
