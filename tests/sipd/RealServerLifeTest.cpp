// What becomes of a registration in the course of time.
#include "RealServerTest.h"

#include <map>
#include <set>

using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

// A client that has asked for Profile0.
SipdClient connectingClient()
{
    SipdClient client;
    EXPECT_EQ(client.introduce(), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(client.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile0")));
    return client;
}

// Over UDP and TCP. The registrar takes the connection for lasting, unless a test says otherwise: what goes
// from it has been taken back.
class RealServerLife : public RealServerTest, public testing::WithParamInterface<const char*>
{
protected:
    explicit RealServerLife(int longestBindingSeconds = 3600)
        : server(workplace(), {.longestBindingSeconds = longestBindingSeconds})
    {
    }

    void connectAnna()
    {
        server.start();
        startDaemon();
        writeProfile("Profile0", annasProfile());
        ASSERT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    }
    TestProfile annasProfile() const
    {
        return profileOf("anna", std::string("127.0.0.1;transport=") + GetParam(), server.port());
    }
    static bool isConnected() { return statusOf("Profile0") == SIPD_PROFILE_CONNECTED; }
    bool isRegistered() const { return server.registered("anna").has_value(); }

    Kamailio server;
};

// With bindings that must be refreshed within two seconds.
class RealServerShortLife : public RealServerLife
{
protected:
    RealServerShortLife() : RealServerLife(2) {}
};

std::string titleOf(const testing::TestParamInfo<const char*>& transport)
{
    return transport.param;
}

INSTANTIATE_TEST_SUITE_P(Real, RealServerLife, testing::Values("udp", "tcp"), titleOf);
INSTANTIATE_TEST_SUITE_P(Real, RealServerShortLife, testing::Values("udp", "tcp"), titleOf);

} // namespace

TEST_P(RealServerShortLife, IsMissedWhenTheRegistrarDiesAndComesBackWithIt)
{
    connectAnna();
    server.die();
    EXPECT_TRUE(waitUntil([] { return !isConnected(); }, seconds(20)));
    server.start();
    EXPECT_TRUE(waitUntil([] { return isConnected(); }, seconds(20)));
    EXPECT_TRUE(isRegistered());
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

TEST_P(RealServerLife, IsRenewedAtOnceByConnectingAgain)
{
    connectAnna();
    TestProfile bob = annasProfile();
    bob.user = "bob";
    writeProfile("Profile0", bob);
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(server.registered("bob"));
    EXPECT_TRUE(waitUntil([this] { return !isRegistered(); }, milliseconds(1000)));
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(server.registered("bob"));
}

TEST_P(RealServerLife, EndsWithItsProfile)
{
    connectAnna();
    removeProfile("Profile0");
    EXPECT_TRUE(
        waitUntil([this] { return statusOf("Profile0") == 0 && !isRegistered(); }, milliseconds(1500)));
}

TEST_P(RealServerLife, EndsWithTheDaemon)
{
    connectAnna();
    const auto begin = std::chrono::steady_clock::now();
    stopDaemon();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, seconds(4));
    EXPECT_FALSE(isRegistered());
}

TEST_P(RealServerLife, BeginsWithTheDaemonWhenTheProfileSaysSo)
{
    server.start();
    TestProfile anna = annasProfile();
    anna.autoConnect = true;
    writeProfile("Profile0", anna);
    startDaemon();
    EXPECT_TRUE(waitUntil([this] { return isConnected() && isRegistered(); }));
}

TEST_F(RealServerTest, ARegistrationIsRefreshedForAsLongAsItLasts)
{
    // Client and server reckon in whole seconds; of a much shorter binding that would leave nothing.
    Kamailio server(workplace(), {.longestBindingSeconds = 6});
    server.start();
    startDaemon();
    const std::map<std::string, std::string> groups = {{"udp", "Profile0"}, {"tcp", "Profile1"}};
    for (const auto& [transport, group] : groups) {
        writeProfile(group, profileOf(transport, "127.0.0.1;transport=" + transport, server.port()));
        ASSERT_EQ(connectProfile(group), SIPD_ACK_SUCCESS);
    }
    std::map<std::string, std::set<int>> seen;
    EXPECT_TRUE(waitUntil(
        [&] {
            for (const auto& [user, group] : groups) {
                const auto binding = server.registered(user);
                EXPECT_TRUE(binding) << user << " was lost";
                EXPECT_EQ(statusOf(group), SIPD_PROFILE_CONNECTED);
                seen[user].insert(binding ? binding->sequence : 0);
            }
            return HasFailure() || (seen["udp"].size() > 3 && seen["tcp"].size() > 3);
        },
        seconds(20)));
}

TEST_F(RealServerTest, ARegistrationThatItsClientNoLongerWaitsForIsTakenBack)
{
    Kamailio server(workplace());
    server.start();
    startDaemon();
    for (const std::string transport : {"udp", "tcp"}) {
        const std::string user = "late-" + transport;
        writeProfile("Profile0", profileOf(user, "127.0.0.1;transport=" + transport, server.port()));
        {
            const SipdClient client = connectingClient();
            // In that time the server gets the password.
            EXPECT_FALSE(waitUntil([] { return statusOf("Profile0") != 1; }, Kamailio::LATENESS / 2));
        }
        EXPECT_TRUE(waitUntil([] { return statusOf("Profile0") == 0; }, milliseconds(500)));
        EXPECT_TRUE(waitUntil([&] { return server.hasEverRegistered(user); })) << transport;
        EXPECT_TRUE(waitUntil([&] { return !server.registered(user); }, milliseconds(1000))) << transport;
        EXPECT_EQ(statusOf("Profile0"), 0U);
    }
}

TEST_F(RealServerTest, ACancelledConnectToASilentServerIsForgottenAtOnce)
{
    Kamailio server(workplace());
    server.start();
    startDaemon();
    writeProfile("Profile0", profileOf("silent", "127.0.0.1", server.port()));
    {
        const SipdClient client = connectingClient();
        EXPECT_EQ(statusOf("Profile0"), 1U);
    }
    EXPECT_TRUE(waitUntil([] { return statusOf("Profile0") == 0; }, milliseconds(1000)));
    writeProfile("Profile0", profileOf("anna", "127.0.0.1", server.port()));
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
}
