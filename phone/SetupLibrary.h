#ifndef SETUPLIBRARY_H
#define SETUPLIBRARY_H

#include <QString>

class QWidget;
class SETUP_SIP_ProfileListBase;

// The SIP-profile setup library, loaded on first use and kept until the program ends.
class SetupLibrary
{
public:
    // A new profile list screen, owned by parent. Null when the library or its entry cannot be had; error
    // then says why, in words for the user.
    static SETUP_SIP_ProfileListBase* createProfileList(QWidget* parent, QString& error);
};

#endif
