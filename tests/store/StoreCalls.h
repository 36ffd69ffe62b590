// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef STORECALLS_H
#define STORECALLS_H

#include "SIPD_Messages.h"

#include <QHash>
#include <QStringList>

// Records the calls of the store to the settings manager and the link, with their arguments. A program links
// StoreCalls.cpp in place of both.
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
