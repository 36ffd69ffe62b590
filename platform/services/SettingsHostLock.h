// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETTINGSHOSTLOCK_H
#define SETTINGSHOSTLOCK_H

#include "OrmuPlatformExport.h"

#include <memory>

class SettingsLockFile;

// The lock of the program whose screens change the settings. Only one program at a time holds it for a
// settings directory, because the screens of a second one would show outdated profiles. The lock lasts until
// this object or the program ends. It is a byte of the directory's file ".lock".
class ORMU_PLATFORM_EXPORT SettingsHostLock
{
public:
    enum Result {
        Held,
        HeldByAnother, // Another program, or another object of this one, holds it.
        NoLockFile,    // The lock file can be neither opened nor made: see error().
        NoLocks,       // The file system has no locks.
    };

    SettingsHostLock();
    ~SettingsHostLock();

    // Takes the lock of the present settings directory, which may be another one at each call. Does not wait.
    Result hold();
    // The error of the last hold() that returned NoLockFile, for settingsReason().
    int error() const { return error_; }

private:
    std::unique_ptr<SettingsLockFile> file_; // Null or locked.
    int error_ = 0;
};

#endif
