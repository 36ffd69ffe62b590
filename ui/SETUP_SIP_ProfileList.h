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

// The list of the stored SIP profiles, with the main menu on the left soft key and a menu of its own on each
// row. The store lives as long as the screen does.
//
// The screens that it opens are its own to delete, when they report that they are done. Those still open when
// it is deleted itself stay, but for the connect dialog, which is its child.
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
    // Event 1000 deletes the detail screen, after the code of that screen that led here has returned.
    void customEvent(QCustomEvent* event) override;

private:
    void initProfileList();
    // Shows the store's profiles anew, and lets the menu offer what can be done with so many.
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
    QString selectedProfile;        // whom the last choice in a row's menu concerns
    bool selectedConnected = false; // whether the row's profile was connected when its menu opened
};

#endif
