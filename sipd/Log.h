#ifndef SIPD_LOG_H
#define SIPD_LOG_H

#include "ORMU_Diagnostics.h"

// The daemon's log: the library's diagnostics, and finer ones that are printed on demand. No line has a
// password, nor anything else as a peer or a settings file spelled it, but for names that have been checked.

inline bool detailedLog = false;

#define SIPD_DETAIL(format, ...)                                                                             \
    (detailedLog ? ORMU_LOG(ORMU_LEVEL_INFO, format __VA_OPT__(, ) __VA_ARGS__) : static_cast<void>(0))

#endif
