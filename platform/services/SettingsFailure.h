#ifndef SETTINGSFAILURE_H
#define SETTINGSFAILURE_H

#include <QString>

#include <functional>
#include <optional>

// What the host of the settings services has to know besides the managers' operations, which report no
// errors: which settings could not be read or saved, so that it can tell the user. All of it is for one
// thread.

struct SettingsFailure
{
    enum Kind {
        NotRead,
        NotSaved,
        NotSavedUnread, // Not even tried: what is in the file could not be read, then or before.
        NoDirectory,    // Nothing can be saved in the settings directory.
    };
    Kind kind;
    QString path;
    QString reason; // In words for the user, such as "no room on the disk".
};

// Why that path could not be read or saved, in words for the user; error is an errno, or a SettingsError.
QString settingsReason(const QString& path, int error);

// Called at each failure, also inside a manager's destructor, deep in a slot of some screen: it must do no
// more than note the failure, and use no manager. An empty one is none.
using SettingsFailureHandler = std::function<void(const SettingsFailure&)>;
void setSettingsFailureHandler(const SettingsFailureHandler& handler);

// A file that could not be read may hold anything. So once a manager could not read one, no manager of that
// path saves anything in this process any more, even if it could read the file itself: what it is told to
// change may follow from what was not read. The host ends that by a call of this, before it opens a screen
// that loads the settings anew; no such screen, nor what it has loaded, may be left by then. Reads the file:
// when that fails all stays as it is, and the result is the failure, which the handler does not get. A file
// that is missing or cannot be parsed has been read; but not one whose directory is missing.
//
// A file that was missing then, and is there at a later save though this process did not make it, counts as
// one that could not be read: it was away for a moment, or is another program's, and the host's screens know
// nothing of what is in it.
std::optional<SettingsFailure> beginSettings(const QString& path);

// The host calls this when the screens that had loaded the settings are closed, before anything else works on
// the file. Changes that could not be saved are saved with the next save of that path in this process, so
// that the file goes on agreeing with what the screens hold; this tries the rest once more and then drops it.
// The handler gets the failure.
void endSettings(const QString& path);

// Whether the file could not be read since beginSettings(): what was loaded from it is not to be relied on.
bool isSettingsFileUnread(const QString& path);

// Whether files can be made in the settings directory, which is made as needed, and in the directory into
// which that settings file is a link. Nothing when they can.
std::optional<SettingsFailure> checkSettingsDirectory(const QString& file = QString());

// Forgets the changes of that path that could not be saved.
void dropUnsavedChanges(const QString& path);
// The path's file was missing at beginSettings(), and this process has not made it since.
bool isSettingsFileNew(const QString& path);
void noteSettingsFileMade(const QString& path);
// What the manager says of a read or a save that failed with this error: an errno, or a SettingsError. A
// failed read forbids further saves.
void reportUnread(SettingsFailure::Kind kind, const QString& path, int error);
void reportUnsaved(const QString& path, int error);
// Why the file could not be read since beginSettings(), as errno says it; 0 when it could.
int unreadError(const QString& path);

#endif
