// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETTINGSFAILURE_H
#define SETTINGSFAILURE_H

#include "OrmuPlatformExport.h"

#include <QString>

#include <functional>
#include <optional>

// Tells the host of the settings services what could not be read or saved, because the operations of
// SETUP_SET_Manager report no errors. For one thread.

struct SettingsFailure
{
    enum Kind {
        NotRead,
        NotSaved,
        NotSavedUnread, // Not tried, because the file could not be read, now or before.
        NoDirectory,    // Nothing can be saved in the settings directory.
    };
    Kind kind;
    QString path;
    QString reason; // For the user, such as "no room on the disk".
};

// The reason in words for the user why that path could not be read or saved. error is an errno or a
// SettingsError.
ORMU_PLATFORM_EXPORT QString settingsReason(const QString& path, int error);

// Called at each failure, also inside a manager's destructor. The handler may only note the failure; it must
// use no manager. An empty handler is none.
using SettingsFailureHandler = std::function<void(const SettingsFailure&)>;
ORMU_PLATFORM_EXPORT void setSettingsFailureHandler(const SettingsFailureHandler& handler);

// Begins to use a settings file: reads it, and permits saves of it again. The host calls this before it opens
// a screen that loads the settings; no earlier screen may be left, and nothing that it loaded.
//
// After a failed read the content of a file is unknown, and later changes may rest on defaults. So no manager
// in this process saves that path any more until a call of this function succeeds. A file that appears after
// this function found it missing, and was not made by this process, counts as unread too: no screen has
// loaded its content.
//
// Returns the failure when the file cannot be read; the handler does not get it. A missing file and one that
// cannot be parsed count as read; a file whose directory is missing does not.
ORMU_PLATFORM_EXPORT std::optional<SettingsFailure> beginSettings(const QString& path);

// Ends the use of a settings file. The host calls this when the screens that loaded the settings are closed,
// before anything else changes the file. Tries once more to save the changes that could not be saved, and
// then drops them. The handler gets the failure.
ORMU_PLATFORM_EXPORT void endSettings(const QString& path);

// Whether a read of the file has failed since beginSettings(): values read from it may be defaults.
ORMU_PLATFORM_EXPORT bool isSettingsFileUnread(const QString& path);

// Makes the settings directory when it is missing. Returns a failure when files cannot be made in it, or in
// the directory into which the given settings file is a link.
ORMU_PLATFORM_EXPORT std::optional<SettingsFailure> checkSettingsDirectory(const QString& file = QString());

#endif
