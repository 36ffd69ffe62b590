// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef COMMANDS_H
#define COMMANDS_H

#include <QJsonObject>
#include <QStringList>

#include <array>
#include <functional>

// The exit status of sip-profile.
enum ExitCode {
    EXIT_DONE = 0,       // done; the profile is connected; nothing is wrong with the file
    EXIT_NOT_SO = 1,     // the profile is not connected; something is wrong with the file
    EXIT_USAGE = 2,      // wrong options or arguments
    EXIT_NO_PROFILE = 3, // no profile of that name, or more than one
    EXIT_NO_DAEMON = 4,  // no daemon, or one that refuses, goes away or breaks the protocol
    EXIT_FILE = 5,       // the settings file, or the output, cannot be read or written
    EXIT_STRANGER = 7,   // the daemon is another user's: nothing was asked
    EXIT_ACK = 10,       // plus the ack of a daemon that did not carry out the request
};

struct Outcome
{
    int code = EXIT_DONE;
    QString text = {};     // for people, in whole lines
    QString error = {};    // why the command failed; "" when it did not
    QJsonObject json = {}; // for programs; without the error
    QString note = {};     // a hint for people
};

// Called when the daemon is asked something, and once a second until it has answered.
using Progress = std::function<void(const QString& what, int seconds)>;

struct Command
{
    const char* name;
    const char* arguments; // as the help shows them
    qsizetype least;       // the number of arguments
    qsizetype most;
    Outcome (*run)(const QStringList& arguments, const Progress& progress);
    const char* help;
};

extern const std::array<Command, 6> COMMANDS;

#endif
