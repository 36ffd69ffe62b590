// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMUCONFIG_H
#define ORMUCONFIG_H

#include "OrmuPlatformExport.h"

#include <QString>

class ORMU_PLATFORM_EXPORT OrmuConfig
{
public:
    // Returns the directory of the phone's settings files: the value of the environment variable
    // ORMU_SETTING_DIR, even an empty one, or else "ormu" under the user's configuration directory. Reads the
    // environment on every call. Makes a missing directory, and missing ones above it, with mode 0700; after
    // a failure to make it warns and returns the name all the same. Blocks for the file system. Any thread
    // may call it while none changes the environment.
    static QString getSettingDirectory();
};

#endif
