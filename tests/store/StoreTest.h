// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef STORETEST_H
#define STORETEST_H

#include "SampleProfiles.h"
#include "SettingsFixture.h"

// A settings directory of its own, and no store, at the start of each test.
class StoreTest : public SettingsInMemoryTest
{
public:
    ~StoreTest() override { SETUP_SIP_Agent::cleanup(); }

    static SETUP_SIP_Agent& store() { return *SETUP_SIP_Agent::instance(); }
    static SETUP_SIP_Agent& reopenedStore()
    {
        SETUP_SIP_Agent::cleanup();
        return store();
    }

    static QStringList names()
    {
        QStringList names;
        for (const QString& name : std::as_const(store().displayNames))
            names.append(name);
        return names;
    }

    // "(none)" when there is no such profile.
    static QString groupOf(const QString& name)
    {
        QString group = QStringLiteral("(none)");
        store().getProfileGroupName(name, group);
        return group;
    }

    static SIP_PROFILE_CONTENT recordOf(const QString& name)
    {
        SIP_PROFILE_CONTENT record;
        store().getProfileInfo(record, name);
        return record;
    }

    static void addProfiles(std::initializer_list<const char*> names)
    {
        for (const char* name : names)
            addProfile(name);
    }

    struct LastInput
    {
        QString user = QStringLiteral("before");
        QString password = QStringLiteral("before");
        bool remember = true;
    };
    static LastInput lastInput()
    {
        LastInput input;
        EXPECT_TRUE(SETUP_SIP_Agent::getLastInputUserIDPassword(input.user, input.password, input.remember));
        return input;
    }

    // Operations that save, on a store of "A", "B", which is the default, and "C".
    static void addThree()
    {
        addProfiles({"A", "B", "C"});
        store().setDefaultProfile("B");
    }
    static void addOne() { addProfile("D"); }
    static void changeOne()
    {
        SIP_PROFILE_CONTENT record = unusualRecord("A");
        store().setProfileInfo(record, "A");
    }
    static void deleteDefault() { store().deleteProfile("B"); }
    static void moveDefault() { store().setDefaultProfile("C"); }
    static void saveInput() { SETUP_SIP_Agent::saveLastInputUserIDPassword("user", "password", true); }
};

#endif
