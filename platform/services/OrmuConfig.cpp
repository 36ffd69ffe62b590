// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuConfig.h"

#include "SettingsDirectory.h"

#include <QFile>

#include <cerrno>
#include <cstring>

QString OrmuConfig::getSettingDirectory()
{
    const std::string directory = settingsDirectory();
    if (!makeSettingsDirectory(directory))
        qWarning("settings directory %s cannot be made: %s", directory.c_str(), std::strerror(errno));
    return QFile::decodeName(directory.c_str());
}
