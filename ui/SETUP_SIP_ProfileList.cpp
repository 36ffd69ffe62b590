#include "SETUP_SIP_ProfileList.h"

#include "OrmuApplication.h"
#include "OrmuGlobal.h"
#include "OrmuPushButton.h"
#include "RES_ICON_Reader.h"
#include "SETUP_SIP_Agent.h"
#include "UTIL_CST.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QLabel>

namespace {
enum MenuId { MENU_ID_NEW = 0, MENU_ID_DELETE = 1 };

constexpr int TITLE_HEIGHT = 30;
constexpr int DELETE_DETAIL_EVENT = 1000;
constexpr int MOUSE_MODE_LONG_PRESS = 1;
const char ROW_FORMAT[] = "%I%T";

// The default profile's mark stands above the lock.
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

    connect(softKeys->getRightBtn(), SIGNAL(clicked()), this, SIGNAL(SIPClose()));
    initProfileList();
}

void SETUP_SIP_ProfileList::initProfileList()
{
    const QRect content = OrmuGlobal::getContentR();

    auto* title = new QLabel(tr("SIP Profile", "2.6.11;DIALOG_TITLE"), getContentWidget());
    title->setGeometry(0, 0, content.width(), TITLE_HEIGHT);
    getContentWidget()->addChild(title, 0, 0);

    listBox = new UTIL_ListBox(ROW_FORMAT, getContentWidget(), 0);
    refreshList();
    listBox->setGeometry(0, TITLE_HEIGHT, content.width(), content.height() - TITLE_HEIGHT);
    getContentWidget()->addChild(listBox, 0, TITLE_HEIGHT);
    OrmuApplication::setMouseMode(listBox->viewport(), MOUSE_MODE_LONG_PRESS);
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
            auto* row = new UTIL_ListBoxItem(listBox, ROW_FORMAT, false);
            row->setString(1, name);
            row->setPixmap(0, profileIcon(icons, isDefault, isLocked));
            listBox->insertItem(row, -1);
        }
    }

    menu->setItemEnabled(MENU_ID_NEW, count < SETUP_SIP_Agent::MAX_SIP_PROFILE);
    menu->setItemEnabled(MENU_ID_DELETE, count != 0);
}

void SETUP_SIP_ProfileList::customEvent(QCustomEvent* event)
{
    if (event->type() != DELETE_DETAIL_EVENT)
        return;
    delete detailScreen;
    detailScreen = nullptr;
}
