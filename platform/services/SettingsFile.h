#ifndef SETTINGSFILE_H
#define SETTINGSFILE_H

#include <QByteArray>

#include <glib.h>

#include <memory>
#include <optional>

// The settings file on disk, for the manager and for what mends the file: reading it, replacing it, keeping
// it when it is damaged. Failures are reported with one warning each, which never quotes the file: it holds
// passwords.

struct KeyFileDeleter
{
    void operator()(GKeyFile* file) const { g_key_file_unref(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileDeleter>;

struct SettingsFile
{
    KeyFile keys;         // Never null; empty when there is no file or it is damaged.
    bool damaged = false; // There is something of that name, but it cannot be read or parsed.
};

SettingsFile readSettingsFile(const QByteArray& path);

// The two steps of readSettingsFile(), without its warnings. Nothing, errno saying why, when the file cannot
// be read; false when bytes cannot be parsed, keys then holding a part of them.
std::optional<QByteArray> readSettingsBytes(const QByteArray& path);
bool parseSettings(GKeyFile* keys, QByteArrayView bytes);

// The text behind a byte order mark, with which it may begin.
QByteArrayView withoutByteOrderMark(QByteArrayView text);

// Gives what stands at path the first free name of "path.damaged", "path.damaged.1", ...; false when it
// cannot. The old name stays too, unless the file system knows no second names (or none for a directory).
bool keepDamagedFile(const QByteArray& path);

// Puts keys, or bytes, in the place of the file as one atomic, durable step, mode 0600 from the first byte.
// When it fails the old file stands as it was, and the result is false.
bool replaceSettingsFile(const QByteArray& path, GKeyFile* keys);
bool replaceSettingsBytes(const QByteArray& path, QByteArrayView bytes);

// Holds off the other writers of the files in path's directory while it lives; waits for the one that is at
// work, which is a matter of one file write. Without effect where the directory cannot be locked.
class SettingsLock
{
public:
    explicit SettingsLock(const QByteArray& path);
    ~SettingsLock();
    SettingsLock(const SettingsLock&) = delete;
    SettingsLock& operator=(const SettingsLock&) = delete;

private:
    int directory_;
};

#endif
