#include "RealServerTest.h"

#include "SETUP_SIP_Agent.h"

#include <sys/stat.h>

RealServerTest::~RealServerTest()
{
    SETUP_SIP_Agent::cleanup();
}

void RealServerTest::SetUp()
{
    ASSERT_EQ(claim.problem(), "") << "this test needs the daemon's socket for itself";
    // A server that gives up root's rights still needs its files.
    ASSERT_EQ(chmod(workplace().c_str(), 0755), 0);
}

std::filesystem::path RealServerTest::workplace() const
{
    return workplace_.path().toStdString();
}

SIP_PROFILE_CONTENT RealServerTest::record(const QString& server, int port, const QString& user)
{
    SIP_PROFILE_CONTENT record;
    SETUP_SIP_Agent::instance()->setDefaultProfileInfo(record);
    record.server = server;
    record.portNum = static_cast<unsigned int>(port);
    record.userID = user;
    record.password = Kamailio::SECRET;
    record.autoConnect = false;
    return record;
}

void RealServerTest::store(const QString& name, SIP_PROFILE_CONTENT record)
{
    record.displayName = name;
    SETUP_SIP_Agent::instance()->setProfileInfo(record, name);
}

void RealServerTest::remove(const QString& name)
{
    SETUP_SIP_Agent::instance()->deleteProfile(name);
}
