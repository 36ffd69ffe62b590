// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETUP_SIP_PROFILESELECTDLG_H
#define SETUP_SIP_PROFILESELECTDLG_H

/// @file
/// The chooser of a profile.

#include "ORMU_Export.h"
#include "UTIL_Dialog.h"

class UTIL_ListBox;

/// Lets the user choose one of the stored SIP profiles. GUI thread only; the caller owns the dialog.
///
/// exec() waits for the user. After Accepted, getSelectedProfile() returns the choice. While exec() runs, the
/// event loop serves the whole application: the caller may delete the dialog there, and exec() then returns
/// Rejected.
///
/// The dialog shows profiles by display name. Its functions take and return group names ("Profile0"). The
/// destructor deletes the profile store; the next call of SETUP_SIP_Agent::instance() loads the file again.
class ORMU_SIPSETUP_EXPORT SETUP_SIP_ProfileSelectDlg : public UTIL_Dialog
{
    Q_OBJECT

public:
    /// Reads the settings file, and blocks for it. parent, if any, owns the dialog; name is its name for Qt.
    /// profile: the group name of the profile to mark; an empty or unknown name marks none. It is not
    /// changed. Never returns when the file's "TotalProfile" counts more profiles than there are (see
    /// SETUP_SIP_Agent::instance()).
    SETUP_SIP_ProfileSelectDlg(QString& profile, QWidget* parent, const char* name);
    /// Deletes the profile store. Does not block.
    ~SETUP_SIP_ProfileSelectDlg() override;

    /// Fills the list from the profiles in memory. The constructor calls it; a second call adds every profile
    /// again.
    void initChoice();

    /// The group name of the marked profile. While none is marked: the name returned last, or else the
    /// constructor's. Does not block.
    QString getSelectedProfile();

private:
    UTIL_ListBox* listBox;
    QString profileName; ///< a group name
};

#endif
