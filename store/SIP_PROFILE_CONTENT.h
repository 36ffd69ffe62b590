#ifndef SIP_PROFILE_CONTENT_H
#define SIP_PROFILE_CONTENT_H

#include <QString>

// One SIP profile. The texts of a fresh record are null; SETUP_SIP_Agent::setDefaultProfileInfo() gives it
// the values of a new profile.
struct SIP_PROFILE_CONTENT
{
    QString displayName; // What the user knows the profile by; unique among the profiles.
    QString server;
    unsigned int portNum = 5060;
    QString userID;
    QString password;
    QString registerValue;
    QString network; // The data connection that the profile runs over.
    bool autoConnect = true;
    bool locked = false;
    bool defaultProfile = false; // The system default; at most one profile is.
    bool needUserIDPass = true;  // The user is asked for user name and password when connecting.
    bool remPassword = false;
};

#endif
