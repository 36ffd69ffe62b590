// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SIP_PROFILE_CONTENT_H
#define SIP_PROFILE_CONTENT_H

/// @file
/// One SIP profile.

#include <QString>

/// One SIP profile. SETUP_SIP_Agent::setDefaultProfileInfo() fills a record with the values of a new profile.
struct SIP_PROFILE_CONTENT
{
    QString displayName;         ///< Unique among the profiles.
    QString server;              ///< A name or an address, with what sipd(1) allows beside it.
    unsigned int portNum = 5060; ///< Of the server.
    QString userID;              ///< The user name at the server.
    QString password;            ///< In plain text.
    QString registerValue;       ///< Kept; nothing here uses it.
    QString network;             ///< The data connection that the profile runs over.
    bool autoConnect = true;     ///< The daemon connects the profile when it starts.
    bool locked = false;         ///< The user may not change or delete the profile.
    bool defaultProfile = false; ///< The system default: at most one profile.
    bool needUserIDPass = true;  ///< Connecting asks the user for user name and password.
    bool remPassword = false;    ///< The user wants the password to be remembered.
};

#endif
