// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SIP_PROFILE_CONTENT_H
#define SIP_PROFILE_CONTENT_H

#include <QString>

// One SIP profile. SETUP_SIP_Agent::setDefaultProfileInfo() fills a record with the values of a new profile.
struct SIP_PROFILE_CONTENT
{
    QString displayName; // Unique among the profiles.
    QString server;
    unsigned int portNum = 5060;
    QString userID;
    QString password;
    QString registerValue;
    QString network; // The data connection that the profile runs over.
    bool autoConnect = true;
    bool locked = false;
    bool defaultProfile = false; // The system default: at most one profile.
    bool needUserIDPass = true;  // Connecting asks the user for user name and password.
    bool remPassword = false;
};

#endif
