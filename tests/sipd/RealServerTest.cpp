#include "RealServerTest.h"

#include <sys/stat.h>

void RealServerTest::SetUp()
{
    SipdTest::SetUp();
    // A server that drops root's rights must still read its files.
    ASSERT_EQ(chmod(workplace().c_str(), 0755), 0);
}

TestProfile RealServerTest::profileOf(const std::string& user, const std::string& server, int port)
{
    return {.server = server,
            .port = static_cast<unsigned int>(port),
            .user = user,
            .password = Kamailio::SECRET,
            .autoConnect = false,
            .displayName = "Profile of " + user};
}
