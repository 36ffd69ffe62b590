// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETUP_SIP_USERIDANDPASSWORDDLG_H
#define SETUP_SIP_USERIDANDPASSWORDDLG_H

#include "OrmuMainWidget.h"
#include "SIP_PROFILE_CONTENT.h"

class OrmuMultiLineEdit;
class QCheckBox;

// Asks for the user name and password of a profile before it is connected, and compares them with those of
// the profile. It never deletes itself: the opener deletes it on inputDone(), which may be inside the
// connected slot.
class SETUP_SIP_UserIDAndPasswordDlg : public OrmuMainWidget
{
    Q_OBJECT

public:
    // userID, password and remember fill the form. No argument is changed; profile is copied.
    SETUP_SIP_UserIDAndPasswordDlg(QString& userID, QString& password, bool remember,
                                   SIP_PROFILE_CONTENT& profile, QWidget* parent = nullptr,
                                   const char* name = nullptr);

signals:
    // ok: user name and password are those of the profile. Otherwise the user gave up.
    void inputDone(bool ok);

protected slots:
    void slotOK();
    void slotQuit();

private:
    void createSoftKeys();
    bool wantsRetry(const QString& reason) const;

    OrmuMultiLineEdit* userEdit;
    OrmuMultiLineEdit* passwordEdit;
    QCheckBox* rememberCheck;
    const SIP_PROFILE_CONTENT profile;
};

#endif
