#ifndef STORETEST_H
#define STORETEST_H

#include "SampleProfiles.h"
#include "SettingsFixture.h"

// A settings directory of its own, and no store, at the start of each test.
class StoreTest : public SettingsInMemoryTest
{
protected:
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
};

#endif
