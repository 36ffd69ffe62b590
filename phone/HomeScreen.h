#ifndef HOMESCREEN_H
#define HOMESCREEN_H

#include "OrmuMainWidget.h"
#include "SettingsHostLock.h"

class QListBoxItem;
class SETUP_SIP_ProfileListBase;
class SettingsNotices;
class UTIL_ListBox;

// The settings application's first screen: what there is to set. The profiles open for one host at a time,
// and only when they can be read. What could not be read or saved, now or in the screens it opens, is told in
// a box, and so is a settings directory in which nothing can be saved when the program starts.
class HomeScreen : public OrmuMainWidget
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
    bool mayOpenProfiles();
    bool isOnlyHost();
    bool canReadProfiles();
    bool areProfilesInOrder();
    void tell(const char* icon, const QString& text);

    SettingsNotices* notices_;
    SettingsHostLock lock_;
    UTIL_ListBox* entries_ = nullptr;
    SETUP_SIP_ProfileListBase* profileList_ = nullptr;
    QString chosenName_; // of the profile chosen last
};

#endif
