// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef STOREDPROFILE_H
#define STOREDPROFILE_H

#include "SETUP_SIP_Agent.h"

#include <QList>

#include <tuple>

// A profile whose user tells it from every other, in every field.
inline SIP_PROFILE_CONTENT recordOf(const QString& name, const QString& user)
{
    unsigned int number = 0;
    for (const QChar c : user)
        number = (31 * number + c.unicode()) % 60000;
    SIP_PROFILE_CONTENT record;
    record.displayName = name;
    record.server = user + ".net";
    record.portNum = number;
    record.userID = user;
    record.password = user + "p";
    record.registerValue = user + "r";
    record.network = user + "n";
    record.autoConnect = (number & 1u) != 0;
    record.locked = (number & 2u) != 0;
    record.needUserIDPass = (number & 4u) != 0;
    record.remPassword = (number & 8u) != 0;
    return record;
}

// The user of a record; "mixed up" when the other fields are not the user's.
inline QString userOf(const SIP_PROFILE_CONTENT& record)
{
    const auto contents = [](const SIP_PROFILE_CONTENT& of) {
        return std::tie(of.server, of.portNum, of.password, of.registerValue, of.network, of.autoConnect,
                        of.locked, of.needUserIDPass, of.remPassword);
    };
    const SIP_PROFILE_CONTENT whole = recordOf(record.displayName, record.userID);
    return contents(record) == contents(whole) ? record.userID : QStringLiteral("mixed up");
}

struct StoredProfile
{
    QString group;
    QString name;
    QString user;
    bool isDefault = false; // marked as the default
};

// Every profile of the store's file, by number. No number may be above the bound.
inline QList<StoredProfile> storedProfiles(int bound = 14)
{
    QString path;
    SETUP_SIP_Agent::getSIPSetupPath(path);
    SETUP_SET_Manager manager(path, false);
    QList<StoredProfile> profiles;
    for (int number = 0; number <= bound; ++number) {
        const QString group = QStringLiteral("Profile%1").arg(number);
        SIP_PROFILE_CONTENT record;
        SETUP_SIP_Agent::getProfileInfoFromFile(&manager, record, group);
        if (!record.displayName.isEmpty())
            profiles.append({group, record.displayName, userOf(record), record.defaultProfile});
    }
    return profiles;
}

#endif
