#ifndef SETTINGSLOCKFILE_H
#define SETTINGSLOCKFILE_H

#include "FileDescriptor.h"

#include <QByteArray>

// The file ".lock" of mode 0600 in a directory of settings files, which stays there. One byte of it is locked
// by the host, another by the writer at work. No other user can open it, so none can hold anybody off.
class SettingsLockFile
{
public:
    enum Byte { HostByte, WriterByte };

    // The directory's name ends in "/". Makes the file when it is missing.
    explicit SettingsLockFile(const QByteArray& directory);

    bool isOpen() const { return file_.isOpen(); }
    // Why it is not open: an errno, or SETTINGS_LOCK_NOT_PRIVATE when something of that name is there that is
    // not this user's regular file, or that other users may open.
    int error() const { return error_; }

    // Each is false with errno when it fails; tryLock() with EAGAIN when another holds it. Held until this
    // object goes.
    bool tryLock(Byte byte) const;
    bool waitForLock(Byte byte) const;

    bool isSameFile(const SettingsLockFile& other) const;

private:
    FileDescriptor file_;
    int error_ = 0;
};

#endif
