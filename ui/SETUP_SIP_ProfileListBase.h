// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETUP_SIP_PROFILELISTBASE_H
#define SETUP_SIP_PROFILELISTBASE_H

/// @file
/// The profile list screen, for its host.

#include "ORMU_Export.h"
#include "OrmuMainWidget.h"

/// The host's interface to the profile list screen. GUI thread only.
///
/// The host makes the screen with SETUP_SIP_CreateProfileList(), calls createScreen() once, shows the screen,
/// and deletes it on SIPClose(), which may be inside the connected slot. It may also delete the screen at any
/// other time, even while a menu or a message box of the screen runs its own event loop.
///
/// Custom events of type 1000 belong to the screen: a host that posts one deletes the open detail screen.
/// Every other type is ignored.
class ORMU_SIPSETUP_EXPORT SETUP_SIP_ProfileListBase : public OrmuMainWidget
{
    Q_OBJECT

public:
    /// A screen without widgets: hosts call SETUP_SIP_CreateProfileList() instead. parent owns it. Does not
    /// block.
    explicit SETUP_SIP_ProfileListBase(QWidget* parent = nullptr, const char* name = nullptr);

    /// Builds the soft keys, the menu and the list, from the profiles in memory. Does nothing in this class.
    /// Does not block.
    virtual void createScreen();

signals:
    /// The user leaves the screen. It stays open until the host deletes it.
    void SIPClose();
};

/// Makes the profile list screen. parent owns it; with a null parent, the caller does. It has no widgets
/// until createScreen(). GUI thread only. Blocks while it reads the settings file; the profiles stay in
/// memory until the screen is deleted. The result is never null. Never returns when the file's "TotalProfile"
/// counts more profiles than there are (see SETUP_SIP_Agent::instance()).
extern "C" ORMU_SIPSETUP_EXPORT SETUP_SIP_ProfileListBase* SETUP_SIP_CreateProfileList(QWidget* parent);

#endif
