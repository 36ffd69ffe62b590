// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// list_screen_cost: opens two lists of ten profiles, offscreen, and paints them; the costs to be counted are
// those of the two calls of measured(). The first list is the profile list screen over a settings file that
// it has to read; the second is Qt's list widget with the same texts and icons.
#include "OrmuApplication.h"
#include "OrmuGlobal.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ProfileListBase.h"

#include <QListWidget>
#include <QTemporaryDir>

#include <memory>

namespace {
constexpr int ROWS = 10;

QString nameOf(int row)
{
    return QStringLiteral("Profile number %1").arg(row);
}

void storeProfiles()
{
    SETUP_SIP_Agent* store = SETUP_SIP_Agent::instance();
    for (int i = 0; i < ROWS; ++i) {
        SIP_PROFILE_CONTENT record;
        store->setDefaultProfileInfo(record);
        record.displayName = nameOf(i);
        record.locked = i % 2 == 1;
        store->setProfileInfo(record, record.displayName);
    }
    store->setDefaultProfile(nameOf(0));
    SETUP_SIP_Agent::cleanup();
}

QIcon iconOf(int row)
{
    if (row == 0)
        return QIcon(":/ormu/icons/Network_Connection.gif");
    return row % 2 == 1 ? QIcon(":/ormu/icons/Network_Locked_Profile.gif") : QIcon();
}

QWidget* openScreen()
{
    SETUP_SIP_ProfileListBase* screen = SETUP_SIP_CreateProfileList(nullptr);
    screen->createScreen();
    screen->show();
    return screen;
}

QWidget* openBareList()
{
    auto* list = new QListWidget;
    for (int i = 0; i < ROWS; ++i)
        list->addItem(new QListWidgetItem(iconOf(i), nameOf(i)));
    list->resize(OrmuGlobal::getScreenSize());
    list->show();
    return list;
}
} // namespace

// By this name callgrind knows when to count.
extern "C" __attribute__((noinline)) QWidget* measured(bool isScreen)
{
    QWidget* widget = isScreen ? openScreen() : openBareList();
    QApplication::processEvents();
    return widget;
}

int main(int argc, char** argv)
{
    const QTemporaryDir settings;
    qputenv("ORMU_SETTING_DIR", settings.path().toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const OrmuApplication application(argc, argv);
    storeProfiles();
    // Neither pays for what the first widget of a process loads: fonts, the style, the icons' decoder.
    for (const auto openOne : {openScreen, openBareList}) {
        const std::unique_ptr<QWidget> first(openOne());
        QApplication::processEvents();
    }
    const std::unique_ptr<QWidget> screen(measured(true));
    const bool isScreenVisible = screen->isVisible();
    const std::unique_ptr<QWidget> bare(measured(false));
    return isScreenVisible && bare->isVisible() ? 0 : 1;
}
