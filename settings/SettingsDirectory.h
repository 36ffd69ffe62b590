// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETTINGSDIRECTORY_H
#define SETTINGSDIRECTORY_H

#include <string>

// The directory of the phone's settings files: the value of the environment variable ORMU_SETTING_DIR, even
// an empty one, or else "ormu" under the user's configuration directory (XDG_CONFIG_HOME, or .config in
// HOME). Reads the environment on every call.
std::string settingsDirectory();

// Makes the directory when it is missing, and missing ones above it, with mode 0700. False with errno when it
// cannot be made. An empty name is no directory to make. Blocks for the file system.
bool makeSettingsDirectory(const std::string& directory);

#endif
