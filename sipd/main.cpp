// sipd: the SIP daemon. Registers the phone's SIP profiles with their servers, for the clients of its socket.

#include "DaemonSocket.h"
#include "Digest.h"
#include "EventLoop.h"
#include "Keeper.h"
#include "Log.h"
#include "PrivateMemory.h"
#include "Registrations.h"
#include "Resolver.h"
#include "Server.h"

#include <sofia-sip/su_log.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <getopt.h>
#include <optional>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QString>

namespace {

using namespace std::chrono_literals;

constexpr auto endLimit = 3500ms;
constexpr long longestExpiry = 86400;

struct Options
{
    long expires = 3600;
    std::string caFile; // the system's when empty
    bool isKept = false;
};

int usage(std::FILE* stream)
{
    std::fprintf(stream,
                 "usage: sipd [OPTION]...\n"
                 "Registers SIP profiles with their servers, for the clients of " SIPD_SOCKET_PATH ".\n"
                 "\n"
                 "  --ca-file FILE     trust the certificates in FILE when a server is reached by TLS,\n"
                 "                     instead of the system's\n"
                 "  --expires SECONDS  how long a registration is asked for at a time (default 3600)\n"
                 "  --keep-running     stay, hold the socket, and start the daemon anew whenever it ends\n"
                 "  -v, --verbose      log more\n"
                 "  --help             print this and exit\n"
                 "  --version          print the version and exit\n");
    return stream == stdout ? EXIT_SUCCESS : 2;
}

std::optional<long> parseExpiry(const char* text)
{
    long seconds = 0;
    const char* const end = text + std::strlen(text);
    const auto [parsed, error] = std::from_chars(text, end, seconds);
    if (error != std::errc() || parsed != end || seconds < 1 || seconds > longestExpiry)
        return std::nullopt;
    return seconds;
}

// An exit status instead of options when there is nothing more to do.
struct CommandLine
{
    Options options;
    std::optional<int> exitStatus;
};

CommandLine parseCommandLine(int argc, char** argv)
{
    enum { CaFile = 1, Expires, KeepRunning, Help, Version };
    static constexpr std::array longOptions = {option{"ca-file", required_argument, nullptr, CaFile},
                                               option{"expires", required_argument, nullptr, Expires},
                                               option{"keep-running", no_argument, nullptr, KeepRunning},
                                               option{"verbose", no_argument, nullptr, 'v'},
                                               option{"help", no_argument, nullptr, Help},
                                               option{"version", no_argument, nullptr, Version},
                                               option{}};
    CommandLine line;
    int choice = 0;
    while ((choice = getopt_long(argc, argv, "v", longOptions.data(), nullptr)) != -1) {
        switch (choice) {
        case CaFile:
            line.options.caFile = optarg;
            if (access(optarg, R_OK) == 0)
                break;
            std::fprintf(stderr, "sipd: %s: %s\n", optarg, std::strerror(errno));
            line.exitStatus = EXIT_FAILURE;
            return line;
        case Expires:
            if (const auto seconds = parseExpiry(optarg)) {
                line.options.expires = *seconds;
                break;
            }
            std::fprintf(stderr, "sipd: --expires takes 1 to %ld seconds\n", longestExpiry);
            line.exitStatus = 2;
            return line;
        case KeepRunning:
            line.options.isKept = true;
            break;
        case 'v':
            detailedLog = true;
            break;
        case Help:
            line.exitStatus = usage(stdout);
            return line;
        case Version:
            std::puts("sipd " ORMU_VERSION);
            line.exitStatus = EXIT_SUCCESS;
            return line;
        default:
            line.exitStatus = usage(stderr);
            return line;
        }
    }
    if (optind < argc)
        line.exitStatus = usage(stderr);
    return line;
}

// Blocks the signals that end the daemon, in all its threads to come; a descriptor that tells of them.
int openSignals()
{
    sigset_t ends;
    sigemptyset(&ends);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&ends, signal);
    sigprocmask(SIG_BLOCK, &ends, nullptr);
    // The stack and the TLS library write to connections that their servers may have closed.
    std::signal(SIGPIPE, SIG_IGN);
    return signalfd(-1, &ends, SFD_CLOEXEC | SFD_NONBLOCK);
}

void logForQt(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& message)
{
    ORMU_LOG(ORMU_LEVEL_ERROR, "%s", message.toUtf8().constData());
}

// The stack's own log spells out what peers and profiles say.
void discardStackLog(void* /*stream*/, const char* /*format*/, va_list /*arguments*/) {}

// Runs until a signal ends it: the registrations are taken back then, as far as that is a matter of seconds.
int run(const Options& options)
{
    const int endSignals = openSignals();
    DaemonSocket socket;
    if (const std::string problem = socket.open(); !problem.empty()) {
        std::fprintf(stderr, "sipd: %s\n", problem.c_str());
        return EXIT_FAILURE;
    }
    const SipSettings settings{std::chrono::seconds(options.expires), options.caFile};

    EventLoop loop;
    installDigest();
    Resolver resolver(loop);
    Registrations registrations({loop, resolver, settings});
    auto server = std::make_unique<Server>(loop, socket.fd(), registrations);
    registrations.connectAutomatically();

    bool isEnding = false;
    std::optional<FdWatch> socketWatch;
    const auto restoreSocket = [&] {
        isEnding = !socket.handleChange([&](int) { server->listenOn(socket.fd()); }) || isEnding;
    };
    if (socket.watchFd() >= 0)
        socketWatch.emplace(loop, socket.watchFd(), POLLIN, [&](int) { restoreSocket(); });
    bool isLate = false;
    Timer endTimer(loop, [&isLate] { isLate = true; });
    const FdWatch signalWatch(loop, endSignals, POLLIN, [&](int) {
        signalfd_siginfo info;
        isEnding = read(endSignals, &info, sizeof(info)) > 0 || isEnding;
    });

    std::printf("listening on %s\n", SIPD_SOCKET_PATH);
    std::fflush(stdout);
    while (!isLate && (server || !registrations.isEmpty())) {
        loop.step();
        if (server && socket.isAway())
            restoreSocket();
        if (isEnding && server) {
            server.reset();
            socketWatch.reset();
            socket.remove();
            registrations.end();
            endTimer.set(endLimit);
        }
        if (server)
            server->reap();
        registrations.reap();
    }
    if (isLate || resolver.isBusy()) {
        // Neither the stack nor a thread that waits for DNS can be stopped in an orderly way.
        ORMU_LOG(ORMU_LEVEL_ERROR, "left without the answer of a server or of DNS");
        std::_Exit(EXIT_SUCCESS);
    }
    return EXIT_SUCCESS;
}

// What is opened later must not get the numbers of closed standard descriptors.
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
    const CommandLine line = parseCommandLine(argc, argv);
    if (line.exitStatus)
        return *line.exitStatus;
    if (line.options.isKept && !DaemonSocket::isKept())
        return Keeper(argv).run();
    qInstallMessageHandler(logForQt);
    su_log_redirect(nullptr, discardStackLog, nullptr);
    return run(line.options);
}
