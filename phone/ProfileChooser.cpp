#include "ProfileChooser.h"

#include "SETUP_SIP_ProfileSelectDlg.h"

bool chooseSipProfile(QString& group)
{
    SETUP_SIP_ProfileSelectDlg dialog(group, nullptr, nullptr);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    group = dialog.getSelectedProfile();
    return true;
}
