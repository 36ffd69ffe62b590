#ifndef SETUP_SIP_PROFILEDELCONFIRMDLG_H
#define SETUP_SIP_PROFILEDELCONFIRMDLG_H

#include "UTIL_Dialog.h"

class UTIL_ListBox;

// Lets the user tick stored profiles and delete them together. Modal: exec() returns Accepted after OK, also
// with nothing ticked, and Rejected after Cancel.
class SETUP_SIP_ProfileDelConfirmDlg : public UTIL_Dialog
{
    Q_OBJECT

public:
    explicit SETUP_SIP_ProfileDelConfirmDlg(QWidget* parent = nullptr, const char* name = nullptr);

public slots:
    // Deletes every ticked profile, then accepts.
    void deleteProfiles();
    // Ticks or clears every row.
    void selectAll(bool on);

private:
    void initChoice();

    UTIL_ListBox* profileList;
};

#endif
