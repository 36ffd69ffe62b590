// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETUP_SIP_PROFILEDELCONFIRMDLG_H
#define SETUP_SIP_PROFILEDELCONFIRMDLG_H

#include "UTIL_Dialog.h"

class UTIL_ListBox;

// Lets the user tick stored profiles and delete them together. exec() returns Accepted after OK, even when no
// profile is ticked, and Rejected after Cancel. The opener may delete the dialog while exec() runs.
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
