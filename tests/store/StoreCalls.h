#ifndef STORECALLS_H
#define STORECALLS_H

#include "SIPD_Messages.h"

#include <QHash>
#include <QStringList>

// What the store calls of its platform and of the daemon link. A program that links StoreCalls.cpp has it in
// place of the settings manager and of the controller: it records each call with its arguments.
namespace storeCalls {

inline QStringList calls;
// The manager's values by "group/key"; the default of the call for all others.
inline QHash<QString, QString> values;

struct Daemon
{
    int constructs = 0; // the result of the construction
    bool givesHandle = true;
    int answers = 0; // the result of the status request
    _SIPD_PROFILE_STATUS_E status = SIPD_PROFILE_CONNECTED;
};
inline Daemon daemon;

} // namespace storeCalls

#endif
