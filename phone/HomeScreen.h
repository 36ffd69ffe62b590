#ifndef HOMESCREEN_H
#define HOMESCREEN_H

#include "OrmuMainWidget.h"

class QListBoxItem;
class SETUP_SIP_ProfileListBase;
class UTIL_ListBox;

// The settings application's first screen: what there is to set.
class HomeScreen : public OrmuMainWidget
{
    Q_OBJECT

public:
    HomeScreen();

private slots:
    void entryClicked(int button, QListBoxItem* entry, const QPoint& pos);
    void closeProfileList();

private:
    void addEntry(const QString& text);
    void openProfileList();
    void chooseProfile();
    bool mayOpenProfiles();
    void tell(const char* icon, const QString& text);

    UTIL_ListBox* entries_ = nullptr;
    SETUP_SIP_ProfileListBase* profileList_ = nullptr;
    QString chosenGroup_; // group name of the profile chosen last
};

#endif
