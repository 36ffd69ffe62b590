// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SIPD_LOG_H
#define SIPD_LOG_H

#include "ORMU_Diagnostics.h"

// The daemon's log: the library's diagnostics, and details on demand. A line must not contain a password, nor
// any other text of a peer or the settings file except checked names.

inline bool detailedLog = false;

#define SIPD_DETAIL(format, ...)                                                                             \
    (detailedLog ? ORMU_LOG(ORMU_LEVEL_INFO, format __VA_OPT__(, ) __VA_ARGS__) : static_cast<void>(0))

#endif
