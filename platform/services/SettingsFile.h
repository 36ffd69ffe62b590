#ifndef SETTINGSFILE_H
#define SETTINGSFILE_H

#include "SettingsLockFile.h"

#include <QByteArray>

#include <glib.h>

#include <memory>
#include <optional>

// The settings file on disk, for the manager and for what mends the file: reading it, replacing it, keeping
// it when it is damaged. Failures are reported with one warning each, which never quotes the file: it holds
// passwords.
//
// Errors that errno does not know.
enum SettingsError {
    SETTINGS_LOCK_NOT_PRIVATE = -2, // The lock file is another user's, or open to others.
    SETTINGS_APPEARED = -3,         // The file was missing at beginSettings().
    SETTINGS_TOO_MANY_COPIES = -4,
};

// A path that is a symbolic link stands for the file at the end of the links, which need not be there yet.
// The replacement, the ".damaged" copies and the lock belong to that file and its directory; the link stays.

struct KeyFileDeleter
{
    void operator()(GKeyFile* file) const { g_key_file_unref(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileDeleter>;

struct SettingsFile
{
    KeyFile keys;         // Never null; empty when there is no file or it is damaged.
    bool damaged = false; // There is something of that name, but it cannot be read or parsed.
    int error = 0; // Why it could not be read, as errno says it: what is in it is unknown. 0 when it was
                   // read, is missing, or is no file at all but, say, a directory.
    bool missing = false; // From a directory that is there. Where that is missing too, the file may only be
                          // away: error is ENOENT.
};

SettingsFile readSettingsFile(const QByteArray& path);

// The two steps of readSettingsFile(), without its warnings. Nothing, errno saying why, when the file cannot
// be read (EISDIR when it is no file); false when bytes cannot be parsed, keys then holding a part of them.
std::optional<QByteArray> readSettingsBytes(const QByteArray& path);
bool parseSettings(GKeyFile* keys, QByteArrayView bytes);

// The text behind a byte order mark, with which it may begin.
QByteArrayView withoutByteOrderMark(QByteArrayView text);

// The file that path stands for. Nothing, with errno ELOOP, when its links lead in a circle.
std::optional<QByteArray> settingsTarget(const QByteArray& path);

// Gives what stands at path the first free name of "path.damaged", "path.damaged.1", ..., and a file the mode
// 0600; false, errno saying why, when it cannot. The old name stays too, unless the file system knows no
// second names (or none for a directory).
bool keepDamagedFile(const QByteArray& path);

// Puts keys, or bytes, in the place of the file as one atomic, durable step, mode 0600 from the first byte.
// False, errno saying why, when that fails: the old file stands as it was. Only when the disk fails to store
// the directory may the new one stand there, and not be durable. To be called under a SettingsLock.
bool replaceSettingsFile(const QByteArray& path, GKeyFile* keys);
bool replaceSettingsBytes(const QByteArray& path, QByteArrayView bytes);

// Holds off the other writers of the files in path's directory while it lives; waits for the one that is at
// work, which is a matter of one file write. Without effect where the lock file cannot be made or locked. By
// the SettingsLockFile of that directory; where that is not private nothing is held off, and nothing may be
// written.
//
// With the lock it removes the temporary files of writers of this file, and of its ".old" copies, that died:
// the user's own regular files of exactly such a name.
class SettingsLock
{
public:
    explicit SettingsLock(const QByteArray& path);
    // Why nothing may be written: SETTINGS_LOCK_NOT_PRIVATE; 0 when it may.
    int refusal() const;

private:
    SettingsLock(const QByteArray& path, const QByteArray& target);

    SettingsLockFile file_;
};

#endif
