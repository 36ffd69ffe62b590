#ifndef SETUP_SIP_PROFILESELECTDLG_H
#define SETUP_SIP_PROFILESELECTDLG_H

#include "ORMU_Export.h"
#include "UTIL_Dialog.h"

class UTIL_ListBox;

// Lets the user choose one of the stored SIP profiles. GUI thread only; the caller owns the dialog.
//
// Run it with exec(), which waits for the user; after Accepted, getSelectedProfile() tells the choice.
// Profiles are shown by display name and handed in and out by group name ("Profile0"). The dialog's
// destructor drops the profile store, which the next user of the store loads anew.
class ORMU_SIPSETUP_EXPORT SETUP_SIP_ProfileSelectDlg : public UTIL_Dialog
{
    Q_OBJECT

public:
    // profile is the group name of the profile to mark; empty or unknown marks none. It is only read.
    SETUP_SIP_ProfileSelectDlg(QString& profile, QWidget* parent, const char* name);
    ~SETUP_SIP_ProfileSelectDlg() override;

    // Fills the list. Called by the constructor; not to be called again.
    void initChoice();

    // The group name of the marked profile; the constructor's when none is marked.
    QString getSelectedProfile();

private:
    UTIL_ListBox* listBox;
    QString profileName; // a group name
};

#endif
