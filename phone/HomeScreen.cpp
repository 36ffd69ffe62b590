#include "HomeScreen.h"

#include "LibraryFunction.h"
#include "OrmuConfig.h"
#include "OrmuGlobal.h"
#include "OrmuMessageBox.h"
#include "OrmuPushButton.h"
#include "ProfileChooser.h"
#include "RES_ICON_Reader.h"
#include "RepairOffer.h"
#include "SETUP_SIP_ProfileListBase.h"
#include "SettingsFailure.h"
#include "SettingsNotices.h"
#include "UTIL_CST.h"
#include "UTIL_ListBox.h"

#include <QLabel>

namespace {
enum Entry { ENTRY_SIP_PROFILE = 0, ENTRY_CHOOSE_PROFILE = 1 };

constexpr int TITLE_HEIGHT = 30;
const char ROW_FORMAT[] = "%T";

} // namespace

QString HomeScreen::profileFile()
{
    QString path = OrmuConfig::getSettingDirectory();
    if (!path.endsWith(u'/'))
        path += u'/';
    return path + QLatin1String("ormu_sipsetup.cfg");
}

HomeScreen::HomeScreen() : OrmuMainWidget(nullptr, "home"), notices_(new SettingsNotices(this))
{
    if (const auto failure = checkSettingsDirectory(profileFile()))
        notices_->note(*failure);

    const QRect content = OrmuGlobal::getContentR();
    auto* title = new QLabel(tr("Settings", "2.6.11;DIALOG_TITLE"), getContentWidget());
    title->setGeometry(0, 0, content.width(), TITLE_HEIGHT);
    getContentWidget()->addChild(title, 0, 0);

    entries_ = new UTIL_ListBox(ROW_FORMAT, getContentWidget(), 0);
    entries_->setGeometry(0, TITLE_HEIGHT, content.width(), content.height() - TITLE_HEIGHT);
    getContentWidget()->addChild(entries_, 0, TITLE_HEIGHT);
    addEntry(tr("SIP Profile", "2.16.0;MENU"));
    addEntry(tr("Choose SIP profile", "2.16.0;MENU"));
    connect(entries_, &QListBox::mouseButtonClicked, this, &HomeScreen::entryClicked);

    auto* softKeys = new UTIL_CST(this, tr("Select", "3.3.1;CST_3BUTTON"), "", "");
    setCSTWidget(softKeys);
    connect(softKeys->getMidBtn(), &QPushButton::clicked, this,
            [this] { entryClicked(Qt::LeftButton, entries_->item(entries_->currentItem()), QPoint()); });
}

void HomeScreen::addEntry(const QString& text)
{
    auto* row = new UTIL_ListBoxItem(entries_, ROW_FORMAT, false);
    row->setString(0, text);
    entries_->insertItem(row, -1);
}

void HomeScreen::entryClicked(int, QListBoxItem* entry, const QPoint&)
{
    if (entry == nullptr)
        return;
    if (entries_->row(entry) == ENTRY_SIP_PROFILE)
        openProfileList();
    else if (entries_->row(entry) == ENTRY_CHOOSE_PROFILE)
        chooseProfile();
}

void HomeScreen::openProfileList()
{
    if (profileList_ != nullptr || !mayOpenProfiles())
        return;
    QString error;
    const auto create = reinterpret_cast<decltype(&SETUP_SIP_CreateProfileList)>(
        resolveLibraryFunction(SETUP_LIBRARY, "SETUP_SIP_CreateProfileList", error));
    if (create == nullptr) {
        tell("Dialog_Exclamatory_Mark.gif", error);
        return;
    }
    profileList_ = create(this);
    if (isSettingsFileUnread(profileFile())) {
        closeProfileList();
        return;
    }
    profileList_->createScreen();
    profileList_->show();
    connect(profileList_, SIGNAL(SIPClose()), this, SLOT(closeProfileList()));
}

void HomeScreen::chooseProfile()
{
    if (profileList_ != nullptr || !mayOpenProfiles())
        return;
    QString error;
    const auto choose = reinterpret_cast<decltype(&chooseSipProfile)>(
        resolveLibraryFunction(CHOOSER_LIBRARY, "chooseSipProfile", error));
    if (choose == nullptr) {
        tell("Dialog_Exclamatory_Mark.gif", error);
        return;
    }
    QString name = chosenName_;
    QString group;
    if (!choose(name, group) || isSettingsFileUnread(profileFile()))
        return;
    chosenName_ = name;
    tell("Dialog_Complete.gif", group.isEmpty() ? tr("No profile", "99.99.99;DIALOG_ICON_50_WARP") : group);
}

bool HomeScreen::mayOpenProfiles()
{
    return isOnlyHost() && canReadProfiles() && areProfilesInOrder();
}

bool HomeScreen::isOnlyHost()
{
    switch (lock_.hold()) {
    case SettingsHostLock::Held:
    case SettingsHostLock::NoLocks:
        return true;
    case SettingsHostLock::HeldByAnother:
        tell("Dialog_Exclamatory_Mark.gif",
             tr("The SIP profiles are in use by another phone on this computer. "
                "Close that one, then try again.",
                "99.99.99;DIALOG_ICON_50_WARP"));
        return false;
    case SettingsHostLock::NoLockFile:
        break;
    }
    if (checkSettingsDirectory()) // Told at the start: no phone can save anything there.
        return true;
    tell("Dialog_Exclamatory_Mark.gif",
         tr("The SIP profiles cannot be opened: %1.", "99.99.99;DIALOG_ICON_50_WARP")
             .arg(settingsReason(profileFile(), lock_.error())));
    return false;
}

bool HomeScreen::canReadProfiles()
{
    const auto failure = beginSettings(profileFile());
    if (failure)
        notices_->note(*failure);
    return !failure;
}

bool HomeScreen::areProfilesInOrder()
{
    QString error;
    const auto offer = reinterpret_cast<decltype(&offerProfileRepair)>(
        resolveLibraryFunction(REPAIR_LIBRARY, "offerProfileRepair", error));
    if (offer == nullptr)
        tell("Dialog_Exclamatory_Mark.gif", error);
    return offer != nullptr && offer();
}

void HomeScreen::tell(const char* icon, const QString& text)
{
    OrmuMessageBox::information(nullptr, RES_ICON_Reader().getIcon(icon), text,
                                tr("OK", "99.99.99;SOFTKEY_1BUTTON"), QString(), QString(), 1);
}

void HomeScreen::closeProfileList()
{
    delete profileList_;
    profileList_ = nullptr;
    endSettings(profileFile());
    QString error; // The next list tells it.
    const auto tidy = reinterpret_cast<decltype(&tidyProfiles)>(
        resolveLibraryFunction(REPAIR_LIBRARY, "tidyProfiles", error));
    if (tidy != nullptr)
        tidy();
}
