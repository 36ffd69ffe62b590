#include "ProfileChooser.h"

#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ProfileSelectDlg.h"

bool chooseSipProfile(QString& name, QString& group)
{
    // By its name: the number of its group may have changed since.
    QString marked;
    SETUP_SIP_Agent::instance()->getProfileGroupName(name, marked);
    SETUP_SIP_ProfileSelectDlg dialog(marked, nullptr, nullptr);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    group = dialog.getSelectedProfile();
    name = SETUP_SIP_Agent::getProfileDisplayName(group);
    return true;
}
