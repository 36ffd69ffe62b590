// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETUP_SIP_PROFILEDETAIL_H
#define SETUP_SIP_PROFILEDETAIL_H

#include "OrmuMainWidget.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SIP_PROFILE_CONTENT.h"

class QPopupMenu;
class SETUP_SIP_ProfileEdit;
class SETUP_SIP_UserIDAndPasswordDlg;

// Shows one stored profile as it was when the screen opened. The user can connect, edit or delete the
// profile, or make it the default.
//
// It never deletes itself: the opener deletes it after detailDone(), once this screen's own code has
// returned. It deletes each screen that it opened when that reports its end. When it is deleted first, the
// connect dialog, its child, is deleted with it; the others stay open, and nobody deletes them.
class SETUP_SIP_ProfileDetail : public OrmuMainWidget
{
    Q_OBJECT

public:
    // Asks the daemon whether the profile is connected. Blocks without a time limit until it answers.
    explicit SETUP_SIP_ProfileDetail(const QString& profileName, QWidget* parent = nullptr,
                                     const char* name = nullptr);

signals:
    // The user is done. changed: the profile was deleted, edited while it was disconnected, or made the
    // default. An edit that was left without saving reports false in any case.
    void detailDone(bool changed);

protected slots:
    void menuItemActivated(int id);
    void slotSetAsDefault();
    void slotBack();
    void editDone(bool saved);
    void userIDPasswordDone(bool ok);
    void connectDone(bool ok);

private:
    enum MenuId { MENU_ID_CONNECT = 0, MENU_ID_EDIT = 1, MENU_ID_DELETE = 2 };

    void createSoftKeys();
    void createMenu();
    QString connectText() const;
    void showDetails();
    void editProfile();
    void deleteProfile();
    void connectProfile();
    void openConnectDlg(SETUP_SIP_ConnectDlg::Operation operation);
    bool confirm(const QString& question) const;

    bool connected;
    bool changed = false; // the default profile was changed from this screen
    QString profileName;
    QPopupMenu* menu = nullptr;
    SIP_PROFILE_CONTENT record;
    SETUP_SIP_ProfileEdit* editScreen = nullptr;
    SETUP_SIP_UserIDAndPasswordDlg* credentialsDlg = nullptr;
    SETUP_SIP_ConnectDlg* connectDlg = nullptr;
};

#endif
