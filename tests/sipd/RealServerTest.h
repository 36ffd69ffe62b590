// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef REALSERVERTEST_H
#define REALSERVERTEST_H

#include "RealServerKamailio.h"
#include "SipdProcess.h"

#include <sys/stat.h>

// The daemon with real servers, which each test starts.
class RealServerTest : public SipdTest
{
protected:
    void SetUp() override
    {
        SipdTest::SetUp();
        // A server that drops root's rights must still read its files.
        ASSERT_EQ(chmod(workplace().c_str(), 0755), 0);
    }

    // A profile with kamailio's password.
    static TestProfile profileOf(const std::string& user, const std::string& server, int port)
    {
        return {.server = server,
                .port = static_cast<unsigned int>(port),
                .user = user,
                .password = Kamailio::SECRET,
                .displayName = "Profile of " + user};
    }

    static std::string serverOver(const std::string& transport) { return "127.0.0.1;transport=" + transport; }

    // The directory for the servers' files.
    std::filesystem::path workplace() const { return workplace_.path().toStdString(); }

    static bool isConnected() { return statusOf("Profile0") == SIPD_PROFILE_CONNECTED; }

private:
    QTemporaryDir workplace_;
};

inline std::string transportName(const testing::TestParamInfo<const char*>& transport)
{
    return transport.param;
}

#endif
