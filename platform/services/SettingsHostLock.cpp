// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SettingsHostLock.h"

#include "OrmuConfig.h"
#include "SettingsLockFile.h"

#include <QFile>

#include <cerrno>

SettingsHostLock::SettingsHostLock() = default;
SettingsHostLock::~SettingsHostLock() = default;

SettingsHostLock::Result SettingsHostLock::hold()
{
    auto file = std::make_unique<SettingsLockFile>(
        QFile::encodeName(OrmuConfig::getSettingDirectory() + u'/').toStdString());
    error_ = file->error();
    if (!file->isOpen())
        return NoLockFile;
    // The directory may be another one by now, or a new one of the same name.
    if (file_ && file->isSameFile(*file_))
        return Held;
    if (!file->tryLock(SettingsLockFile::HostByte))
        return errno == EAGAIN || errno == EACCES ? HeldByAnother : NoLocks;
    file_ = std::move(file);
    return Held;
}
