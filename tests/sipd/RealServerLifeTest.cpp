// The life of a registration at a real server.
#include "RealServerTest.h"
#include "ShiftedTime.h"

using namespace std::chrono_literals;

namespace {

// Over UDP and TCP. The server expects registrations to last for an hour: one that is gone was unregistered.
class RealServerLife : public RealServerTest, public testing::WithParamInterface<const char*>
{
protected:
    void connectAnna(const std::vector<std::string>& options = {},
                     const std::vector<std::string>& wrapper = {})
    {
        server.start();
        startDaemon(options, wrapper);
        writeProfile("Profile0", annasProfile());
        ASSERT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
        ASSERT_TRUE(isConnected());
    }
    TestProfile annasProfile() const
    {
        return profileOf("anna", std::string("127.0.0.1;transport=") + GetParam(), server.port());
    }
    bool isRegistered() const { return server.registered("anna").has_value(); }

    Kamailio server{workplace()};
};

class RealServerShiftedLife : public RealServerLife
{
protected:
    ShiftedTime time{directory().toStdString()};
};

INSTANTIATE_TEST_SUITE_P(Real, RealServerLife, testing::Values("udp", "tcp"), transportName);
INSTANTIATE_TEST_SUITE_P(Real, RealServerShiftedLife, testing::Values("udp", "tcp"), transportName);

} // namespace

TEST_P(RealServerShiftedLife, IsLostWithTheServerAndComesBackWithIt)
{
    connectAnna({}, time.wrapper());
    server.die();
    time.sleepFor(1h);
    EXPECT_TRUE(waitUntil([] { return !isConnected(); }));
    server.start();
    time.sleepFor(1min);
    EXPECT_TRUE(waitUntil([] { return isConnected(); }));
    EXPECT_TRUE(isRegistered());
}

TEST_P(RealServerShiftedLife, IsRefreshedForAsLongAsItLasts)
{
    connectAnna({"--expires", "6"}, time.wrapper());
    for (int i = 0; i < 3; ++i) {
        const auto former = server.registered("anna");
        ASSERT_TRUE(former) << i;
        time.sleepFor(6s);
        EXPECT_TRUE(waitUntil([&] {
            const auto binding = server.registered("anna");
            return binding && binding->sequence > former->sequence;
        }));
        EXPECT_TRUE(isConnected());
    }
}

TEST_P(RealServerLife, FollowsThePasswordInTheFile)
{
    connectAnna();
    TestProfile wrong = annasProfile();
    wrong.password = "guess";
    writeProfile("Profile0", wrong);
    EXPECT_TRUE(waitUntil([this] { return !isConnected() && !isRegistered(); }));
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_INCORRECT_PROFILE);
    writeProfile("Profile0", annasProfile());
    EXPECT_TRUE(waitUntil([this] { return isConnected() && isRegistered(); }));
}

TEST_P(RealServerLife, IsRenewedByConnectingAgain)
{
    connectAnna();
    TestProfile bob = annasProfile();
    bob.user = "bob";
    writeProfile("Profile0", bob);
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(server.registered("bob"));
    EXPECT_TRUE(waitUntil([this] { return !isRegistered(); }));
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(server.registered("bob"));
}

TEST_P(RealServerLife, EndsWithItsProfile)
{
    connectAnna();
    removeProfile("Profile0");
    EXPECT_TRUE(waitUntil([this] { return statusOf("Profile0") == 0 && !isRegistered(); }));
}

TEST_P(RealServerLife, EndsWithTheDaemon)
{
    connectAnna();
    stopDaemon();
    EXPECT_FALSE(isRegistered());
}

TEST_P(RealServerLife, BeginsWithTheDaemonIfAutomatic)
{
    server.start();
    TestProfile anna = annasProfile();
    anna.autoConnect = true;
    writeProfile("Profile0", anna);
    startDaemon();
    EXPECT_TRUE(waitUntil([this] { return isConnected() && isRegistered(); }));
}

TEST_F(RealServerTest, UnregistersWhenAClientLeavesBeforeTheAnswer)
{
    Kamailio server(workplace());
    server.start();
    startDaemon();
    for (const std::string transport : {"udp", "tcp"}) {
        const std::string user = "late-" + transport;
        writeProfile("Profile0", profileOf(user, "127.0.0.1;transport=" + transport, server.port()));
        {
            SipdClient client;
            EXPECT_EQ(client.introduce(), SIPD_ACK_SUCCESS);
            EXPECT_TRUE(client.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile0")));
            EXPECT_TRUE(waitUntil([&] { return server.hasEverBeenAsked(user); })) << transport;
        }
        EXPECT_TRUE(waitUntil([] { return statusOf("Profile0") == 0; }));
        EXPECT_TRUE(waitUntil([&] { return server.hasEverRegistered(user); })) << transport;
        EXPECT_TRUE(waitUntil([&] { return !server.registered(user); })) << transport;
        EXPECT_EQ(statusOf("Profile0"), 0U);
    }
}
