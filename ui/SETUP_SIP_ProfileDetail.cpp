// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SETUP_SIP_ProfileDetail.h"

#include "ORMU_Diagnostics.h"
#include "OrmuPushButton.h"
#include "RES_ICON_Reader.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ConnectFlow.h"
#include "SETUP_SIP_Form.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_Question.h"
#include "UTIL_CST.h"
#include "qpopupmenu.h"

#include <utility>

namespace {
// Logs name an unknown menu id by this line. It stays the same when the code moves.
constexpr int UNKNOWN_MENU_ID_LINE = 144;
} // namespace

SETUP_SIP_ProfileDetail::SETUP_SIP_ProfileDetail(const QString& nameOfProfile, QWidget* parent,
                                                 const char* name)
    : OrmuMainWidget(parent, name), profileName(nameOfProfile)
{
    SETUP_SIP_Agent* store = SETUP_SIP_Agent::instance();
    store->getProfileInfo(record, profileName);
    connected = store->isProfileConnected(profileName);
    createSoftKeys();
    createMenu();
    showDetails();
}

void SETUP_SIP_ProfileDetail::createSoftKeys()
{
    auto* softKeys = new UTIL_CST(this, tr("Set as default", "3.3.1;CST_3BUTTON"), "", "CST_Back");
    setCSTWidget(softKeys);
    softKeys->getLeftBtn()->setResourceID("CST_Menu");
    softKeys->getRightBtn()->setResourceID("CST_Back");
    if (SETUP_SIP_Agent::instance()->isProfileDefault(profileName))
        softKeys->getMidBtn()->setEnabled(false);
    connect(softKeys->getMidBtn(), &QPushButton::clicked, this, &SETUP_SIP_ProfileDetail::slotSetAsDefault);
    connect(softKeys->getRightBtn(), &QPushButton::clicked, this, &SETUP_SIP_ProfileDetail::slotBack);
}

void SETUP_SIP_ProfileDetail::createMenu()
{
    menu = new QPopupMenu(this);
    menu->insertItem(connectText(), MENU_ID_CONNECT, -1);
    menu->insertItem(tr("Edit", "2.16.0;MENU"), MENU_ID_EDIT, -1);
    menu->insertItem(tr("Delete Profile", "2.16.0;MENU"), MENU_ID_DELETE, -1);
    static_cast<UTIL_CST*>(getCSTWidget())->getLeftBtn()->setPopup(menu);
    connect(menu, &QPopupMenu::activated, this, &SETUP_SIP_ProfileDetail::menuItemActivated);
}

QString SETUP_SIP_ProfileDetail::connectText() const
{
    return connected ? tr("Disconnect", "2.16.0;MENU") : tr("Connect", "2.16.0;MENU");
}

void SETUP_SIP_ProfileDetail::showDetails()
{
    SETUP_SIP_AddLabel(this, tr("Profile name:", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL") + profileName, 0);
    SETUP_SIP_AddLabel(this, tr("Server address:", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL"), 30);
    SETUP_SIP_AddLabel(this, record.server, 60);
    SETUP_SIP_AddLabel(
        this, tr("Port:", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL") + QString::number(record.portNum), 90);
    SETUP_SIP_AddLabel(this, tr("User Name:", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL") + record.userID, 120);
    SETUP_SIP_AddLabel(this, tr("Password:", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL") + "**********", 150);
    SETUP_SIP_AddLabel(this, tr("Internet Profile:", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL") + record.network,
                       180);
    if (record.autoConnect)
        SETUP_SIP_AddLabel(this,
                           tr("Connect:", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL") +
                               tr("Auto connect when power on", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL"),
                           210);
}

void SETUP_SIP_ProfileDetail::menuItemActivated(int id)
{
    switch (id) {
    case MENU_ID_CONNECT:
        connectProfile();
        break;
    case MENU_ID_EDIT:
        editProfile();
        break;
    case MENU_ID_DELETE:
        deleteProfile();
        break;
    default:
        ormuAssertFailed(__FILE__, UNKNOWN_MENU_ID_LINE);
    }
}

void SETUP_SIP_ProfileDetail::slotSetAsDefault()
{
    SETUP_SIP_Agent::instance()->setDefaultProfile(profileName);
    static_cast<UTIL_CST*>(getCSTWidget())->getMidBtn()->setEnabled(false);
    changed = true;
}

void SETUP_SIP_ProfileDetail::slotBack()
{
    emit detailDone(changed);
}

void SETUP_SIP_ProfileDetail::editProfile()
{
    if (editScreen != nullptr)
        return;
    editScreen = new SETUP_SIP_ProfileEdit(profileName);
    connect(editScreen, &SETUP_SIP_ProfileEdit::editDone, this, &SETUP_SIP_ProfileDetail::editDone);
    editScreen->show();
}

void SETUP_SIP_ProfileDetail::editDone(bool saved)
{
    delete std::exchange(editScreen, nullptr);
    if (!saved || !connected) {
        emit detailDone(saved);
        return;
    }
    if (confirm(tr("Do you want to re-connect this profile?", "99.99.99;DIALOG_ICON_50_WARP")))
        openConnectDlg(SETUP_SIP_ConnectDlg::OP_RECONNECT);
}

void SETUP_SIP_ProfileDetail::deleteProfile()
{
    if (!confirm(tr("Delete the profile?", "99.99.99;DIALOG_ICON_50_WARP")))
        return;
    SETUP_SIP_Agent::instance()->deleteProfile(profileName);
    emit detailDone(true);
}

void SETUP_SIP_ProfileDetail::connectProfile()
{
    if (connected) {
        if (confirm(tr("Disconnect current connection?", "99.99.99;DIALOG_ICON_50_WARP")))
            openConnectDlg(SETUP_SIP_ConnectDlg::OP_DISCONNECT);
    } else if (record.needUserIDPass) {
        SETUP_SIP_OpenPrompt(credentialsDlg, record, this, &SETUP_SIP_ProfileDetail::userIDPasswordDone);
    } else {
        userIDPasswordDone(true);
    }
}

void SETUP_SIP_ProfileDetail::userIDPasswordDone(bool ok)
{
    delete std::exchange(credentialsDlg, nullptr);
    if (ok)
        openConnectDlg(SETUP_SIP_ConnectDlg::OP_CONNECT);
}

void SETUP_SIP_ProfileDetail::openConnectDlg(SETUP_SIP_ConnectDlg::Operation operation)
{
    SETUP_SIP_OpenConnectDlg(connectDlg, operation, profileName, this, &SETUP_SIP_ProfileDetail::connectDone);
}

void SETUP_SIP_ProfileDetail::connectDone(bool ok)
{
    delete std::exchange(connectDlg, nullptr);
    if (!ok)
        return;
    connected = !connected;
    menu->changeItem(MENU_ID_CONNECT, connectText());
}

bool SETUP_SIP_ProfileDetail::confirm(const QString& question) const
{
    return SETUP_SIP_Confirm(this, RES_ICON_Reader().getIcon("Dialog_Question_Mark.jpg"), question,
                             tr("OK", "99.99.99;SOFTKEY_2BUTTON"), tr("Cancel", "99.99.99;SOFTKEY_2BUTTON"));
}

#include "moc_SETUP_SIP_ProfileDetail.cpp"
