// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "HomeScreen.h"

#include "LibraryFunction.h"
#include "MessageBox.h"
#include "OrmuConfig.h"
#include "OrmuGlobal.h"
#include "OrmuPushButton.h"
#include "PhoneProfiles.h"
#include "ProfileSchema.h"
#include "SETUP_SIP_ProfileListBase.h"
#include "SettingsFailure.h"
#include "SettingsNotices.h"
#include "UTIL_CST.h"
#include "UTIL_ListBox.h"

#include <QLabel>

namespace {
enum Entry { ENTRY_SIP_PROFILE = 0, ENTRY_CHOOSE_PROFILE = 1 };

constexpr int HOME_TITLE_HEIGHT = 30;
const char ROW_FORMAT[] = "%T";

} // namespace

QString HomeScreen::profileFile()
{
    return QString::fromStdString(settingsFileIn(OrmuConfig::getSettingDirectory().toStdString()));
}

HomeScreen::HomeScreen() : OrmuMainWidget(nullptr, "home"), notices_(new SettingsNotices(this))
{
    if (const auto failure = checkSettingsDirectory(profileFile()))
        notices_->note(*failure);

    const QRect content = OrmuGlobal::getContentR();
    auto* title = new QLabel(tr("Settings", "2.6.11;DIALOG_TITLE"), getContentWidget());
    title->setGeometry(0, 0, content.width(), HOME_TITLE_HEIGHT);
    getContentWidget()->addChild(title, 0, 0);

    entries_ = new UTIL_ListBox(ROW_FORMAT, getContentWidget(), 0);
    entries_->setGeometry(0, HOME_TITLE_HEIGHT, content.width(), content.height() - HOME_TITLE_HEIGHT);
    getContentWidget()->addChild(entries_, 0, HOME_TITLE_HEIGHT);
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

template <class Function>
Function* HomeScreen::resolve(const char* library, const char* name)
{
    QString error;
    const QFunctionPointer function = resolveLibraryFunction(library, name, error);
    if (function == nullptr)
        showMessage(MessageIcon::Warning, error);
    return reinterpret_cast<Function*>(function);
}

void HomeScreen::openProfileList()
{
    if (profileList_ != nullptr || !mayOpenList())
        return;
    const auto create =
        resolve<decltype(SETUP_SIP_CreateProfileList)>(SETUP_LIBRARY, "SETUP_SIP_CreateProfileList");
    if (create == nullptr)
        return;
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
    if (profileList_ != nullptr || !mayOpenList())
        return;
    const auto choose = resolve<decltype(chooseSipProfile)>(PROFILES_LIBRARY, "chooseSipProfile");
    QString name = chosenName_;
    QString group;
    if (choose == nullptr || !choose(name, group) || isSettingsFileUnread(profileFile()))
        return;
    chosenName_ = name;
    showMessage(MessageIcon::Done,
                group.isEmpty() ? tr("No profile", "99.99.99;DIALOG_ICON_50_WARP") : group);
}

bool HomeScreen::mayOpenList()
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
        showMessage(MessageIcon::Warning, tr("The SIP profiles are in use by another phone on this computer. "
                                             "Close that one, then try again.",
                                             "99.99.99;DIALOG_ICON_50_WARP"));
        return false;
    case SettingsHostLock::NoLockFile:
        break;
    }
    if (checkSettingsDirectory()) // No phone can save anything there; the start told it.
        return true;
    showMessage(MessageIcon::Warning,
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
    const auto mayOpen = resolve<decltype(mayOpenProfiles)>(PROFILES_LIBRARY, "mayOpenProfiles");
    return mayOpen != nullptr && mayOpen(*this);
}

bool HomeScreen::ask(const QString& question)
{
    return askUser(question, tr("Repair", "3.3.1;CST_3BUTTON"), tr("Back", "3.3.1;CST_3BUTTON"));
}

void HomeScreen::tell(Result result, const QString& text)
{
    showMessage(result == Success ? MessageIcon::Done : MessageIcon::Warning, text);
}

void HomeScreen::closeProfileList()
{
    delete profileList_;
    profileList_ = nullptr;
    endSettings(profileFile());
    if (const auto tidy = resolve<decltype(tidyProfiles)>(PROFILES_LIBRARY, "tidyProfiles"))
        tidy();
}

#include "moc_HomeScreen.cpp"
