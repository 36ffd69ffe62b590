#ifndef SETTINGSHOSTLOCK_H
#define SETTINGSHOSTLOCK_H

#include "SettingsLockFile.h"

#include <memory>

// Says that this program is the host whose screens change the settings: two would each show what the other
// has long changed. Held until this object or the program ends, in whichever way. By the SettingsLockFile of
// the settings directory.
class SettingsHostLock
{
public:
    enum Result {
        Held,          // By this object.
        HeldByAnother, // By another host, or another object of this program.
        NoLockFile,    // It can be neither opened nor made: see error().
        NoLocks,       // The directory knows none.
    };
    // For the settings directory of the moment; asks anew on every call. Does not wait.
    Result hold();
    // Of the last hold() that found NoLockFile, as settingsReason() takes it.
    int error() const { return error_; }

private:
    std::unique_ptr<SettingsLockFile> file_; // The one that is locked.
    int error_ = 0;
};

#endif
