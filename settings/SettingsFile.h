// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETTINGSFILE_H
#define SETTINGSFILE_H

#include "SettingsKeys.h"
#include "SettingsLockFile.h"

#include <optional>
#include <string>
#include <string_view>

// Reads a settings file, replaces it and keeps a damaged one. Each failure is one GLib warning of the domain
// "ormu-settings", which never quotes the file: it holds passwords.
//
// A path that is a symbolic link stands for the file at the end of the links, which need not exist. The
// replacement, the ".damaged" copies and the lock belong to that file and its directory; the link stays.

// Errors beside those of errno.
enum SettingsError {
    SETTINGS_LOCK_NOT_PRIVATE = -2, // The lock file belongs to another user, or others may open it.
    SETTINGS_APPEARED = -3,         // The file was missing at beginSettings().
    SETTINGS_TOO_MANY_COPIES = -4,
};

struct SettingsFile
{
    SettingsKeys keys = {}; // Without groups when the file is missing or damaged.
    bool damaged = false;   // There is something of that name, but it cannot be read or parsed.
    int error = 0; // The errno of a read that failed: the content is unknown. 0 when the file was read, is
                   // missing, or is no regular file but, say, a directory.
    bool missing = false; // From an existing directory. Without the directory the file may only be away:
                          // error is ENOENT then.
};

SettingsFile readSettingsFile(const std::string& path);

// The same without warnings and without parsing. Nothing with errno when the file cannot be read; errno is
// EISDIR when it is no regular file.
std::optional<std::string> readSettingsBytes(const std::string& path);

// The directory in which the path's last name stands, with "/" at its end.
std::string directoryOf(const std::string& path);

// The file that path stands for. Nothing with errno ELOOP when its links lead in a circle.
std::optional<std::string> settingsTarget(const std::string& path);

// Gives the damaged file at path the first free name of "path.damaged", "path.damaged.1", ..., and a regular
// file the mode 0600. The old name stays too, unless the file system knows no second names (or none for a
// directory). False with errno on failure.
bool keepDamagedFile(const std::string& path);

// Replaces the file in one atomic, durable step; the new one has mode 0600 from its first byte. False with
// errno on failure: the old file stands unchanged. Only when the disk fails to store the directory may the
// new one stand there, and not be durable. To be called under a SettingsLock.
bool replaceSettingsFile(const std::string& path, std::string_view bytes);

// Keeps other writers of the files in path's directory waiting while it lives. The constructor waits for a
// writer at work, for about one file write. Without effect where the SettingsLockFile of the directory cannot
// be made or locked; where that file is not private, nothing may be written.
//
// With the lock it removes the temporary files that killed writers of this file, and of its ".old" copies,
// left: the user's own regular files of exactly such a name.
class SettingsLock
{
public:
    explicit SettingsLock(const std::string& path);
    // SETTINGS_LOCK_NOT_PRIVATE when nothing may be written; 0 otherwise.
    int refusal() const;

private:
    SettingsLock(const std::string& path, const std::string& target);

    SettingsLockFile file_;
};

#endif
