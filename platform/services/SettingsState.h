// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETTINGSSTATE_H
#define SETTINGSSTATE_H

#include "SettingsFailure.h"

#include <string>

// The state of settings files that their managers share, for the services alone. For the GUI thread.

// The path as the system takes it.
std::string encodedPath(const QString& path);

// Drops the changes of that path that could not be saved.
void dropUnsavedChanges(const QString& path);

// Whether the file was missing at beginSettings() and this process has not made it since.
bool isSettingsFileNew(const QString& path);
void noteSettingsFileMade(const QString& path);

// Tell the host of a failed read or save; error is an errno or a SettingsError. A failed read forbids later
// saves.
void reportUnread(SettingsFailure::Kind kind, const QString& path, int error);
ORMU_PLATFORM_EXPORT void reportUnsaved(const QString& path, int error);
// The error of the last failed read since beginSettings(); 0 without one.
int unreadError(const QString& path);

#endif
