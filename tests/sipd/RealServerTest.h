#ifndef REALSERVERTEST_H
#define REALSERVERTEST_H

#include "RealServerKamailio.h"
#include "SipdProcess.h"

// The daemon with real servers, which each test starts.
class RealServerTest : public SipdTest
{
protected:
    void SetUp() override;

    // A profile with kamailio's password.
    static TestProfile profileOf(const std::string& user, const std::string& server, int port);

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
