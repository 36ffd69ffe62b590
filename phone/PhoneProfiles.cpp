// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "PhoneProfiles.h"

#include "DaemonOwner.h"
#include "ProfileFile.h"
#include "ProfileRepair.h"
#include "RepairDialogue.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ProfileSelectDlg.h"

bool mayOpenProfiles(RepairDialogue& user)
{
    if (const auto stranger = strangerOnDaemonSocket()) {
        user.tell(RepairDialogue::Failure, describeStranger(*stranger));
        return false;
    }
    return putProfilesInOrder(user);
}

void tidyProfiles()
{
    tidyProfileFile(ProfileFile::path());
}

bool chooseSipProfile(QString& name, QString& group)
{
    // The number of the profile's group may have changed since it was chosen.
    QString marked;
    SETUP_SIP_Agent::instance()->getProfileGroupName(name, marked);
    SETUP_SIP_ProfileSelectDlg dialog(marked, nullptr, nullptr);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    group = dialog.getSelectedProfile();
    name = SETUP_SIP_Agent::getProfileDisplayName(group);
    return true;
}
