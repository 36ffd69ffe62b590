// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SettingsDirectory.h"

#include <glib.h>

#include <cstdlib>

std::string settingsDirectory()
{
    if (const char* const directory = std::getenv("ORMU_SETTING_DIR"))
        return directory;
    // A relative path has no meaning there.
    const char* const config = std::getenv("XDG_CONFIG_HOME");
    if (config != nullptr && *config == '/')
        return std::string(config) + "/ormu";
    const char* const home = std::getenv("HOME");
    return std::string(home == nullptr ? "" : home) + "/.config/ormu";
}

bool makeSettingsDirectory(const std::string& directory)
{
    return directory.empty() || g_mkdir_with_parents(directory.c_str(), 0700) == 0;
}
