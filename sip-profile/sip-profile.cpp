// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// sip-profile: lists, connects and disconnects the SIP profiles, and repairs the file that they are kept in.
#include "Commands.h"
#include "PrivateMemory.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QJsonDocument>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

const char EXIT_STATUS[] = R"(
Exit status: 0 when it is done, the profile is connected, nothing is wrong with the
file; 1 when the profile is not connected, something is wrong with the file; 2 wrong
usage; 3 no such profile, or several; 4 no SIP daemon; 5 the file cannot be read or
written; 7 the SIP daemon is another user's; 11 to 14 when the daemon could not
connect: 11 in general, 12 no SIP service, 13 the profile is not right, 14 the server
cannot be reached.)";

// The stream for the messages of the program itself.
FILE* messages = stderr;

// The library always prints its diagnostics to standard error.
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

void describe(QCommandLineParser& parser)
{
    QString commands;
    for (const Command& command : COMMANDS)
        commands += QStringLiteral("  %1 %2\n")
                        .arg(QStringLiteral("%1 %2").arg(command.name, command.arguments).leftJustified(16),
                             command.help);
    parser.setApplicationDescription(
        "Lists, connects and disconnects SIP profiles, and repairs the file that they are kept in.\n\n"
        "Commands:\n" +
        commands + EXIT_STATUS);
    parser.addOptions({{"json", "Print one JSON document."},
                       {{"v", "verbose"}, "Print the diagnostics of the daemon link, too."},
                       {{"h", "help"}, "Print this help."},
                       {"version", "Print the version."}});
    parser.addPositionalArgument("COMMAND", "One of the commands above.");
    parser.addPositionalArgument("NAME",
                                 "The name that the phone shows, or the name of the profile's group in the "
                                 "settings file (Profile0).",
                                 "[NAME]");
}

Outcome wrongUsage(const QString& why)
{
    return {.code = EXIT_USAGE, .error = why + QStringLiteral(" See sip-profile --help.")};
}

Outcome run(const QStringList& words, const Progress& progress)
{
    if (words.isEmpty())
        return wrongUsage(QStringLiteral("Which command?"));
    const auto command = std::find_if(COMMANDS.begin(), COMMANDS.end(), [&words](const Command& candidate) {
        return words.first() == QLatin1String(candidate.name);
    });
    if (command == COMMANDS.end())
        return wrongUsage(QStringLiteral("“%1” is no command.").arg(words.first()));
    const QStringList arguments = words.sliced(1);
    if (arguments.size() < command->least || arguments.size() > command->most)
        return wrongUsage(QStringLiteral("“%1” has a name too many or too few.").arg(words.join(u' ')));
    return command->run(arguments, progress);
}

// Prints the progress, and removes it from the terminal in the end.
Outcome runOnTerminal(const QStringList& words)
{
    bool isShown = false;
    const Progress progress = [&isShown](const QString& what, int seconds) {
        isShown = true;
        showProgress(what, seconds);
    };
    Outcome outcome = run(words, progress);
    if (isShown)
        clearProgress();
    return outcome;
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
    QCommandLineParser parser;
    describe(parser);
    const bool isParsed = parser.parse(QCoreApplication::arguments());
    if (parser.isSet("help"))
        return print(parser.helpText().toUtf8()) ? EXIT_DONE : EXIT_FILE;
    if (parser.isSet("version"))
        return print("sip-profile " ORMU_VERSION "\n") ? EXIT_DONE : EXIT_FILE;
    if (!parser.isSet("verbose"))
        silenceDiagnostics();

    const bool json = parser.isSet("json");
    const QStringList words = parser.positionalArguments();
    const bool showsProgress = !json && isatty(fileno(messages)) != 0;
    const Outcome outcome = !isParsed       ? wrongUsage(parser.errorText())
                            : showsProgress ? runOnTerminal(words)
                                            : run(words, [](const QString&, int) {});
    if (!json && !outcome.error.isEmpty())
        say(outcome.error);
    if (!print(json ? toJson(outcome) : outcome.text.toUtf8())) {
        say(QStringLiteral("The output cannot be written."));
        return EXIT_FILE;
    }
    if (!json && !outcome.note.isEmpty())
        say(outcome.note);
    return outcome.code;
}
