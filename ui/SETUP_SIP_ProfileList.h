// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETUP_SIP_PROFILELIST_H
#define SETUP_SIP_PROFILELIST_H

#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileListBase.h"
#include "qvaluelist.h"

class QListBoxItem;
class QPopupMenu;
class SETUP_SIP_ProfileDetail;
class SETUP_SIP_ProfileEdit;
class SETUP_SIP_UserIDAndPasswordDlg;
class UTIL_ListBox;

// The list of the stored SIP profiles. The left soft key opens the main menu; each row has a context menu.
// The store lives as long as the screen.
//
// The screen deletes each screen that it opened when that reports its end. When the list is deleted first,
// the connect dialog, its child, is deleted with it; the others stay open, and nobody deletes them.
class SETUP_SIP_ProfileList : public SETUP_SIP_ProfileListBase
{
    Q_OBJECT

public:
    explicit SETUP_SIP_ProfileList(QWidget* parent = nullptr, const char* name = nullptr);
    ~SETUP_SIP_ProfileList() override;

    void createScreen() override;

protected slots:
    void menuItemActivated(int id);
    void contentMenuItemActivated(int id);
    void editDone(bool saved);
    void detailDone(bool changed);
    void itemClicked(int button, QListBoxItem* item, const QPoint& pos);
    void showContentMenu(QListBoxItem* item, const QPoint& pos);
    void userIDPasswordDone(bool ok);
    void connectDone(bool ok);
    // An event of type 1000 deletes the detail screen. detailDone() posts it, so that the code of the detail
    // screen has returned by then.
    void customEvent(QCustomEvent* event) override;

private:
    enum MenuId { MENU_ID_NEW = 0, MENU_ID_DELETE = 1 };
    enum RowMenuId { ROW_MENU_ID_CONNECT = 0, ROW_MENU_ID_SET_DEFAULT = 1, ROW_MENU_ID_DELETE = 2 };

    void initProfileList();
    // Rebuilds the rows from the store and enables the menu's entries for the number of profiles.
    void refreshList();
    void editProfile(const QString& name);
    void deleteProfiles();
    void deleteSelectedProfile();
    void connectProfile();
    void openConnectDlg(SETUP_SIP_ConnectDlg::Operation operation);
    bool confirm(const QString& question) const;

    QValueList<QString> profileNames;
    QPopupMenu* menu = nullptr;
    SETUP_SIP_ProfileEdit* editScreen = nullptr;
    SETUP_SIP_ProfileDetail* detailScreen = nullptr;
    SETUP_SIP_UserIDAndPasswordDlg* userPassDlg = nullptr;
    SETUP_SIP_ConnectDlg* connectDlg = nullptr;
    UTIL_ListBox* listBox = nullptr;
    QString selectedProfile;        // the current row's profile at the last choice in a row's menu
    bool selectedConnected = false; // the touched row's profile was connected when the row's menu opened
};

#endif
