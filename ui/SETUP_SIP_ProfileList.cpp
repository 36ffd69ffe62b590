// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SETUP_SIP_ProfileList.h"

#include "ORMU_Diagnostics.h"
#include "OrmuApplication.h"
#include "OrmuGlobal.h"
#include "OrmuPushButton.h"
#include "RES_ICON_Reader.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ChoiceList.h"
#include "SETUP_SIP_ConnectFlow.h"
#include "SETUP_SIP_ProfileDelConfirmDlg.h"
#include "SETUP_SIP_ProfileDetail.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_Question.h"
#include "UTIL_CST.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QApplication>
#include <QLabel>
#include <QPointer>

#include <utility>

namespace {
constexpr int TITLE_HEIGHT = 30;
constexpr int DELETE_DETAIL_EVENT = 1000;
constexpr int MOUSE_MODE_LONG_PRESS = 1;
const char ICON_ROW[] = "%I%T";

// A locked default profile has the icon of the default.
QPixmap profileIcon(const RES_ICON_Reader& reader, bool isDefault, bool isLocked)
{
    if (isDefault)
        return reader.getIcon("Network_Connection.gif");
    if (isLocked)
        return reader.getIcon("Network_Locked_Profile.gif");
    return {};
}
} // namespace

SETUP_SIP_ProfileListBase* SETUP_SIP_CreateProfileList(QWidget* parent)
{
    return new SETUP_SIP_ProfileList(parent);
}

SETUP_SIP_ProfileList::SETUP_SIP_ProfileList(QWidget* parent, const char* name)
    : SETUP_SIP_ProfileListBase(parent, name)
{
    SETUP_SIP_Agent::instance();
}

SETUP_SIP_ProfileList::~SETUP_SIP_ProfileList()
{
    SETUP_SIP_Agent::cleanup();
}

void SETUP_SIP_ProfileList::createScreen()
{
    auto* softKeys = new UTIL_CST(this, "", "", "CST_Back");
    setCSTWidget(softKeys);
    softKeys->getLeftBtn()->setResourceID("CST_Menu");
    softKeys->getMidBtn()->setEnabled(false);
    softKeys->getMidBtn()->setText("");

    menu = new QPopupMenu(this);
    menu->insertItem(tr("New Profile", "2.16.0;MENU"), MENU_ID_NEW, -1);
    menu->insertItem(tr("Delete Profiles", "2.16.0;MENU"), MENU_ID_DELETE, -1);
    softKeys->getLeftBtn()->setPopup(menu);
    connect(menu, &QPopupMenu::activated, this, &SETUP_SIP_ProfileList::menuItemActivated);

    connect(softKeys->getRightBtn(), SIGNAL(clicked()), this, SIGNAL(SIPClose()));
    initProfileList();
}

void SETUP_SIP_ProfileList::initProfileList()
{
    const QRect content = OrmuGlobal::getContentR();

    auto* title = new QLabel(tr("SIP Profile", "2.6.11;DIALOG_TITLE"), getContentWidget());
    title->setGeometry(0, 0, content.width(), TITLE_HEIGHT);
    getContentWidget()->addChild(title, 0, 0);

    listBox = new UTIL_ListBox(ICON_ROW, getContentWidget(), 0);
    refreshList();
    listBox->setGeometry(0, TITLE_HEIGHT, content.width(), content.height() - TITLE_HEIGHT);
    getContentWidget()->addChild(listBox, 0, TITLE_HEIGHT);
    OrmuApplication::setMouseMode(listBox->viewport(), MOUSE_MODE_LONG_PRESS);
    connect(listBox, &QListBox::rightButtonPressed, this, &SETUP_SIP_ProfileList::showContentMenu);
    connect(listBox, &QListBox::mouseButtonClicked, this, &SETUP_SIP_ProfileList::itemClicked);
}

void SETUP_SIP_ProfileList::refreshList()
{
    SETUP_SIP_Agent* store = SETUP_SIP_Agent::instance();
    listBox->clear();
    profileNames = store->displayNames;
    const int count = store->profileCount();

    if (count > 0) {
        const RES_ICON_Reader icons;
        for (const QString& name : std::as_const(profileNames)) {
            const bool isLocked = store->isProfileLocked(name);
            const bool isDefault = store->isProfileDefault(name);
            UTIL_ListBoxItem* row = SETUP_SIP_NewRow(listBox, ICON_ROW, name);
            row->setPixmap(0, profileIcon(icons, isDefault, isLocked));
            listBox->insertItem(row, -1);
        }
    }

    menu->setItemEnabled(MENU_ID_NEW, count < SETUP_SIP_Agent::MAX_SIP_PROFILE);
    menu->setItemEnabled(MENU_ID_DELETE, count != 0);
}

void SETUP_SIP_ProfileList::menuItemActivated(int id)
{
    switch (id) {
    case MENU_ID_NEW:
        editProfile(QString());
        break;
    case MENU_ID_DELETE:
        deleteProfiles();
        break;
    default:
        ORMU_ASSERT(false);
    }
}

void SETUP_SIP_ProfileList::editProfile(const QString& name)
{
    if (editScreen != nullptr)
        return;
    editScreen = new SETUP_SIP_ProfileEdit(name);
    connect(editScreen, &SETUP_SIP_ProfileEdit::editDone, this, &SETUP_SIP_ProfileList::editDone);
    editScreen->show();
}

void SETUP_SIP_ProfileList::editDone(bool saved)
{
    if (saved)
        refreshList();
    delete std::exchange(editScreen, nullptr);
}

void SETUP_SIP_ProfileList::deleteProfiles()
{
    const QPointer<SETUP_SIP_ProfileList> self(this); // the host may delete the screen meanwhile
    SETUP_SIP_ProfileDelConfirmDlg dialog;
    const int result = dialog.exec();
    if (result == QDialog::Accepted && !self.isNull())
        refreshList();
}

void SETUP_SIP_ProfileList::itemClicked(int, QListBoxItem* item, const QPoint&)
{
    if (item == nullptr || SETUP_SIP_Agent::instance()->isProfileLocked(item->text()))
        return;
    if (detailScreen != nullptr)
        return;
    detailScreen = new SETUP_SIP_ProfileDetail(item->text());
    connect(detailScreen, &SETUP_SIP_ProfileDetail::detailDone, this, &SETUP_SIP_ProfileList::detailDone);
    detailScreen->show();
}

void SETUP_SIP_ProfileList::detailDone(bool changed)
{
    if (changed)
        refreshList();
    QApplication::postEvent(this, new QCustomEvent(DELETE_DETAIL_EVENT));
}

void SETUP_SIP_ProfileList::customEvent(QCustomEvent* event)
{
    if (event->type() != DELETE_DETAIL_EVENT)
        return;
    delete std::exchange(detailScreen, nullptr);
}

void SETUP_SIP_ProfileList::showContentMenu(QListBoxItem* item, const QPoint& pos)
{
    if (item == nullptr)
        return;
    SETUP_SIP_Agent* store = SETUP_SIP_Agent::instance();
    const QString name = item->text();
    auto* rowMenu = new QPopupMenu(listBox);
    selectedConnected = store->isProfileConnected(name);
    rowMenu->insertItem(selectedConnected ? tr("Disconnect", "2.16.0;MENU") : tr("Connect", "2.16.0;MENU"),
                        ROW_MENU_ID_CONNECT, -1);
    rowMenu->insertItem(tr("Set as default", "2.16.0;MENU"), ROW_MENU_ID_SET_DEFAULT, -1);
    rowMenu->setItemEnabled(ROW_MENU_ID_SET_DEFAULT, !store->isProfileDefault(name));
    rowMenu->insertItem(tr("Delete Profile", "2.16.0;MENU"), ROW_MENU_ID_DELETE, -1);
    connect(rowMenu, &QPopupMenu::activated, this, &SETUP_SIP_ProfileList::contentMenuItemActivated);
    rowMenu->exec(pos, 0);
}

void SETUP_SIP_ProfileList::contentMenuItemActivated(int id)
{
    const int current = listBox->currentItem();
    if (current < 0)
        return;
    selectedProfile = listBox->item(current)->text();
    switch (id) {
    case ROW_MENU_ID_CONNECT:
        connectProfile();
        break;
    case ROW_MENU_ID_SET_DEFAULT:
        SETUP_SIP_Agent::instance()->setDefaultProfile(selectedProfile);
        refreshList();
        break;
    case ROW_MENU_ID_DELETE:
        deleteSelectedProfile();
        break;
    default:
        ORMU_ASSERT(false);
    }
}

void SETUP_SIP_ProfileList::deleteSelectedProfile()
{
    if (!confirm(tr("Delete the profile?", "99.99.99;DIALOG_ICON_50_WARP")))
        return;
    SETUP_SIP_Agent::instance()->deleteProfile(selectedProfile);
    refreshList();
}

void SETUP_SIP_ProfileList::connectProfile()
{
    if (selectedConnected) {
        if (confirm(tr("Disconnect current connection?", "99.99.99;DIALOG_ICON_50_WARP")))
            openConnectDlg(SETUP_SIP_ConnectDlg::OP_DISCONNECT);
        return;
    }
    SIP_PROFILE_CONTENT record;
    SETUP_SIP_Agent::instance()->getProfileInfo(record, selectedProfile);
    if (record.needUserIDPass)
        SETUP_SIP_OpenPrompt(userPassDlg, record, this, &SETUP_SIP_ProfileList::userIDPasswordDone);
    else
        userIDPasswordDone(true);
}

void SETUP_SIP_ProfileList::userIDPasswordDone(bool ok)
{
    delete std::exchange(userPassDlg, nullptr);
    if (ok)
        openConnectDlg(SETUP_SIP_ConnectDlg::OP_CONNECT);
}

void SETUP_SIP_ProfileList::openConnectDlg(SETUP_SIP_ConnectDlg::Operation operation)
{
    SETUP_SIP_OpenConnectDlg(connectDlg, operation, selectedProfile, this,
                             &SETUP_SIP_ProfileList::connectDone);
}

void SETUP_SIP_ProfileList::connectDone(bool)
{
    delete std::exchange(connectDlg, nullptr);
}

bool SETUP_SIP_ProfileList::confirm(const QString& question) const
{
    return SETUP_SIP_Confirm(this, RES_ICON_Reader().getIcon("Dialog_Question_Mark.jpg"), question,
                             tr("OK", "99.99.99;SOFTKEY_2BUTTON"), tr("Cancel", "99.99.99;SOFTKEY_2BUTTON"));
}

#include "moc_SETUP_SIP_ProfileList.cpp"
