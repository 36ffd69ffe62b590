// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// choose-profile: lets the user choose a SIP profile and prints its group name. The default profile is marked
// at first. A settings file whose profiles are numbered wrongly must be repaired first: sip-profile repair.
//
// Exit status: 0 when a profile was chosen, 1 when none was.

#include "OrmuApplication.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ProfileSelectDlg.h"

#include <cstdio>

int main(int argc, char** argv)
{
    OrmuApplication application(argc, argv);
    QString marked = SETUP_SIP_Agent::getDefaultProfile();
    SETUP_SIP_ProfileSelectDlg dialog(marked, nullptr, nullptr);
    if (dialog.exec() != QDialog::Accepted)
        return 1;
    std::printf("%s\n", qPrintable(dialog.getSelectedProfile()));
    return 0;
}
