#ifndef COMMANDS_H
#define COMMANDS_H

#include <QJsonObject>
#include <QString>

#include <functional>

// The commands of sip-profile.

// How the program ends.
enum ExitCode {
    EXIT_DONE = 0,       // done; the profile is connected; the file has nothing wrong
    EXIT_NOT_SO = 1,     // the profile is not connected; the file has something wrong
    EXIT_USAGE = 2,      // wrong options
    EXIT_NO_PROFILE = 3, // no profile of that name, or more than one
    EXIT_NO_DAEMON = 4,  // no daemon, or one that refuses, goes away or makes no sense
    EXIT_FILE = 5,       // the settings file, or the output, cannot be read or written
    EXIT_STRANGER = 7,   // the daemon is another user's: nothing was asked
    EXIT_ACK = 10,       // and the ack of a daemon that did not carry out the request
};

struct Outcome
{
    int code = EXIT_DONE;
    QString text;     // for people, in whole lines
    QString error;    // why it was not done; empty when it was
    QJsonObject json; // for programs; without the error
    QString note;     // for people, besides
};

// Told what the daemon is asked to do, again and again while it is waited for, with the seconds so far.
using Progress = std::function<void(const QString& what, int seconds)>;

// NAME is a display name or a group name.
Outcome listProfiles();
Outcome showStatus();
Outcome showStatusOf(const QString& name);
Outcome connectProfile(const QString& name, const Progress& progress);
Outcome disconnectProfile(const QString& name, const Progress& progress);
Outcome checkFile();
Outcome repairFile();

#endif
