#ifndef REALSERVERTEST_H
#define REALSERVERTEST_H

#include "DaemonSocketClaim.h"
#include "RealServerDaemon.h"
#include "RealServerKamailio.h"
#include "SIP_PROFILE_CONTENT.h"
#include "SettingsFixture.h"

#include <gtest/gtest.h>

// sipd over a settings directory of its own, with room for the files of the servers that a test starts.
class RealServerTest : public testing::Test, protected SettingsDirectory
{
protected:
    ~RealServerTest() override;
    void SetUp() override;

    // A profile that is not connected by itself, with kamailio's password.
    static SIP_PROFILE_CONTENT record(const QString& server, int port, const QString& user);
    // Stores it under the name, as the phone does: the first name stored has the group Profile0, and so on.
    static void store(const QString& name, SIP_PROFILE_CONTENT record);
    static void remove(const QString& name);

    // Where the servers keep their files.
    std::filesystem::path workplace() const;

    DaemonSocketClaim claim;
    QTemporaryDir workplace_;
    Sipd sipd{workplace()};
};

#endif
