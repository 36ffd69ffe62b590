// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef HOMESCREEN_H
#define HOMESCREEN_H

#include "OrmuMainWidget.h"
#include "RepairDialogue.h"
#include "SettingsHostLock.h"

class QListBoxItem;
class SETUP_SIP_ProfileListBase;
class SettingsNotices;
class UTIL_ListBox;

// The settings application's first screen: the list of the settings. The SIP profiles open for one phone at a
// time, and only when their file can be read and is in order. A box tells the settings that could not be read
// or saved, here or in the screens it opens, and at the start a settings directory in which nothing can be
// saved.
class HomeScreen : public OrmuMainWidget, private RepairDialogue
{
    Q_OBJECT

public:
    HomeScreen();

    // The path of the library's settings file, as the library itself writes it.
    static QString profileFile();

private slots:
    void entryClicked(int button, QListBoxItem* entry, const QPoint& pos);
    void closeProfileList();

private:
    void addEntry(const QString& text);
    void openProfileList();
    void chooseProfile();
    bool mayOpenList();
    bool isOnlyHost();
    bool canReadProfiles();
    bool areProfilesInOrder();
    bool ask(const QString& question) override;
    void tell(Result result, const QString& text) override;
    // The function of that name in the library; null, after a box, when it cannot be found.
    template <class Function>
    static Function* resolve(const char* library, const char* name);

    SettingsNotices* notices_;
    SettingsHostLock lock_;
    UTIL_ListBox* entries_ = nullptr;
    SETUP_SIP_ProfileListBase* profileList_ = nullptr;
    QString chosenName_; // the display name of the profile chosen last
};

#endif
