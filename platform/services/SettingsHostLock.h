#ifndef SETTINGSHOSTLOCK_H
#define SETTINGSHOSTLOCK_H

#include "FileDescriptor.h"

// Says that this program is the host whose screens change the settings: two would each show what the other
// has long changed. Held until this object or the program ends, in whichever way. By a file ".host.lock" of
// mode 0600 in the settings directory, which stays there.
class SettingsHostLock
{
public:
    enum Result {
        Held,          // By this object.
        HeldByAnother, // By another host, or another object of this program.
        CannotLock,    // Nobody can make the file, or the directory knows no locks.
    };
    // For the settings directory of the moment; asks anew on every call. Does not wait.
    Result hold();

private:
    FileDescriptor file_;
};

#endif
