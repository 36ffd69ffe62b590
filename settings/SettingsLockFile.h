// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETTINGSLOCKFILE_H
#define SETTINGSLOCKFILE_H

#include "FileDescriptor.h"

#include <string>

// The file ".lock" of mode 0600 in a directory of settings files. It is never removed. The host locks one
// byte of it, a writer at work another. Other users cannot open it, so they cannot hold anybody up.
class SettingsLockFile
{
public:
    enum Byte { HostByte, WriterByte };

    // The directory's name ends in "/". Makes the file when it is missing.
    explicit SettingsLockFile(const std::string& directory);

    bool isOpen() const { return file_.isOpen(); }
    // Why it is not open: an errno, or SETTINGS_LOCK_NOT_PRIVATE when the name is that of something else than
    // a regular file of this user, or of a file that other users may open.
    int error() const { return error_; }

    // False with errno on failure; errno is EAGAIN when tryLock() finds the byte locked by another object.
    // The lock lasts as long as this object.
    bool tryLock(Byte byte) const;
    bool waitForLock(Byte byte) const;

    bool isSameFile(const SettingsLockFile& other) const;

private:
    FileDescriptor file_;
    int error_ = 0;
};

#endif
