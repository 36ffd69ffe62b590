#ifndef SETUP_SIP_PROFILELISTBASE_H
#define SETUP_SIP_PROFILELISTBASE_H

#include "ORMU_Export.h"
#include "OrmuMainWidget.h"

// What the host sees of the profile list screen. GUI thread only.
//
// The host makes the screen with SETUP_SIP_CreateProfileList(), calls createScreen() once, shows the screen,
// and deletes it when it emits SIPClose(), also inside the slot that answers the signal.
class ORMU_SIPSETUP_EXPORT SETUP_SIP_ProfileListBase : public OrmuMainWidget
{
    Q_OBJECT

public:
    explicit SETUP_SIP_ProfileListBase(QWidget* parent = nullptr, const char* name = nullptr);

    // Builds the soft keys, the menu and the list. Does nothing in this class.
    virtual void createScreen();

signals:
    // The user wants to leave the screen, which stays as it is until the host deletes it.
    void SIPClose();
};

// Makes the profile list screen; parent, which may be null, owns it. It has no widgets until createScreen().
// Reads the settings file; the profiles stay in memory until the screen is deleted. Never null; never returns
// when the file's "TotalProfile" counts more profiles than there are (see SETUP_SIP_Agent::instance()).
extern "C" ORMU_SIPSETUP_EXPORT SETUP_SIP_ProfileListBase* SETUP_SIP_CreateProfileList(QWidget* parent);

#endif
