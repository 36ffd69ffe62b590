// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SAMPLEPROFILES_H
#define SAMPLEPROFILES_H

#include "SETUP_SIP_Agent.h"

#include <gtest/gtest.h>

// A record in which every field differs from a new profile's.
inline SIP_PROFILE_CONTENT unusualRecord(const QString& name)
{
    SIP_PROFILE_CONTENT record;
    record.displayName = name;
    record.server = QStringLiteral("sip.example.org");
    record.portNum = 4294967295U;
    record.userID = QStringLiteral("user, \"quoted\" @home");
    record.password = QStringLiteral(" p%40\\n; ");
    record.registerValue = QStringLiteral("[yes]");
    record.network = QStringLiteral("büro");
    record.autoConnect = false;
    record.locked = true;
    record.defaultProfile = true;
    record.needUserIDPass = false;
    record.remPassword = true;
    return record;
}

// A new profile of that name.
inline SIP_PROFILE_CONTENT newRecord(const QString& name)
{
    SIP_PROFILE_CONTENT record;
    record.displayName = name;
    record.network = QStringLiteral("internet");
    return record;
}

// Adds a new profile of that name through the store.
inline void addProfile(const QString& name)
{
    SIP_PROFILE_CONTENT record = newRecord(name);
    SETUP_SIP_Agent::instance()->setProfileInfo(record, name);
}

inline void expectEqual(const SIP_PROFILE_CONTENT& a, const SIP_PROFILE_CONTENT& b)
{
    EXPECT_EQ(a.displayName, b.displayName);
    EXPECT_EQ(a.server, b.server);
    EXPECT_EQ(a.portNum, b.portNum);
    EXPECT_EQ(a.userID, b.userID);
    EXPECT_EQ(a.password, b.password);
    EXPECT_EQ(a.registerValue, b.registerValue);
    EXPECT_EQ(a.network, b.network);
    EXPECT_EQ(a.autoConnect, b.autoConnect);
    EXPECT_EQ(a.locked, b.locked);
    EXPECT_EQ(a.defaultProfile, b.defaultProfile);
    EXPECT_EQ(a.needUserIDPass, b.needUserIDPass);
    EXPECT_EQ(a.remPassword, b.remPassword);
}

#endif
