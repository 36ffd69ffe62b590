// sip-profile: lists, connects and disconnects the SIP profiles, and mends the file that they are kept in.
#include "Commands.h"
#include "PrivateMemory.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QJsonDocument>

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

const char USAGE[] = R"(usage: sip-profile [--json] [-v] COMMAND [NAME]

Commands:
  list             print the profiles: name, group, server, user
  status [NAME]    ask the SIP daemon whether the profiles are connected, or one
  connect NAME     have the SIP daemon connect the profile
  disconnect NAME  have the SIP daemon disconnect the profile
  check            tell what is wrong with the settings file
  repair           mend it, keeping a copy; not while a phone has the profiles open

NAME is the name that the phone shows, or the name of the profile's group in the
settings file (Profile0).

  --json           print one JSON document
  -v, --verbose    print the diagnostics of the daemon link, too
  --help, --version

Ends with 0 when it is done, the profile is connected, the file has nothing wrong;
1 when the profile is not connected, the file has something wrong; 2 wrong usage;
3 no such profile, or several; 4 no SIP daemon; 5 the file cannot be read or written;
7 the SIP daemon is another user's; 11 to 14 when the daemon could not connect: 11 in
general, 12 no SIP service, 13 the profile is not right, 14 the server cannot be
reached.
)";

// What the program itself says on standard error.
FILE* messages = stderr;

// The library's diagnostics go to standard error, always. People have them on demand.
void silenceDiagnostics()
{
    const int own = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    FILE* const stream = own < 0 ? nullptr : fdopen(own, "w");
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (stream == nullptr || nowhere < 0)
        return;
    messages = stream;
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
}

void say(const QString& text)
{
    std::fprintf(messages, "sip-profile: %s\n", qUtf8Printable(text));
    std::fflush(messages);
}

void showProgress(const QString& what, int seconds)
{
    const QString time = seconds == 0 ? QString() : QStringLiteral(" %1 s").arg(seconds);
    std::fprintf(messages, "\r%s ...%s", qUtf8Printable(what), qUtf8Printable(time));
    std::fflush(messages);
}

void clearProgress()
{
    std::fputs("\r\033[K", messages);
    std::fflush(messages);
}

struct Options
{
    bool json = false;
    bool verbose = false;
    bool help = false;
    bool version = false;
    QStringList words; // the command and its name
    QString error;
};

Options parse(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addOptions({{"json", ""}, {{"v", "verbose"}, ""}, {{"h", "help"}, ""}, {"version", ""}});
    Options options;
    if (!parser.parse(arguments))
        options.error = parser.errorText();
    options.json = parser.isSet("json");
    options.verbose = parser.isSet("verbose");
    options.help = parser.isSet("help");
    options.version = parser.isSet("version");
    options.words = parser.positionalArguments();
    return options;
}

Outcome wrongUsage(const QString& why)
{
    return {EXIT_USAGE, QString(), why + QStringLiteral(" See sip-profile --help."), QJsonObject(),
            QString()};
}

Outcome run(const Options& options)
{
    if (!options.error.isEmpty())
        return wrongUsage(options.error);
    if (options.words.isEmpty())
        return wrongUsage(QStringLiteral("Which command?"));

    const bool showsProgress = !options.json && isatty(fileno(messages)) != 0;
    const Progress progress = showsProgress ? showProgress : Progress([](const QString&, int) {});
    const QString command = options.words.first();
    const QString name = options.words.value(1);
    const qsizetype names = options.words.size() - 1;
    if (command == u"list" && names == 0)
        return listProfiles();
    if (command == u"status" && names <= 1)
        return names == 0 ? showStatus() : showStatusOf(name);
    if ((command == u"connect" || command == u"disconnect") && names == 1) {
        Outcome outcome =
            command == u"connect" ? connectProfile(name, progress) : disconnectProfile(name, progress);
        if (showsProgress)
            clearProgress();
        return outcome;
    }
    if (command == u"check" && names == 0)
        return checkFile();
    if (command == u"repair" && names == 0)
        return repairFile();
    return wrongUsage(QStringLiteral("“%1” is no command, or has a name too many or too few.")
                          .arg(options.words.join(u' ')));
}

QByteArray toJson(const Outcome& outcome)
{
    QJsonObject document = outcome.json;
    if (!outcome.error.isEmpty())
        document["error"] = outcome.error;
    document["exitCode"] = outcome.code;
    return QJsonDocument(document).toJson();
}

// False when standard output does not take it all.
bool print(const QByteArray& text)
{
    return std::fwrite(text.constData(), 1, static_cast<size_t>(text.size()), stdout) ==
               static_cast<size_t>(text.size()) &&
           std::fflush(stdout) == 0;
}

} // namespace

int main(int argc, char** argv)
{
    keepMemoryPrivate();
    const QCoreApplication application(argc, argv);
    const Options options = parse(QCoreApplication::arguments());
    if (options.help)
        return print(USAGE) ? EXIT_DONE : EXIT_FILE;
    if (options.version)
        return print("sip-profile " ORMU_VERSION "\n") ? EXIT_DONE : EXIT_FILE;
    if (!options.verbose)
        silenceDiagnostics();

    const Outcome outcome = run(options);
    if (!options.json && !outcome.error.isEmpty())
        say(outcome.error);
    if (!print(options.json ? toJson(outcome) : outcome.text.toUtf8())) {
        say(QStringLiteral("The output cannot be written."));
        return EXIT_FILE;
    }
    if (!options.json && !outcome.note.isEmpty())
        say(outcome.note);
    return outcome.code;
}
