// What becomes of a registration in the course of time.
#include "RealServerTest.h"

#include <map>
#include <set>

using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

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
        sipd.start();
        store("the profile", annasProfile());
        ASSERT_EQ(connectAndWait("Profile0"), SIPD_ACK_SUCCESS);
    }
    SIP_PROFILE_CONTENT annasProfile() const
    {
        return record(QStringLiteral("127.0.0.1;transport=") + GetParam(), server.port(), "anna");
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
    SIP_PROFILE_CONTENT wrong = annasProfile();
    wrong.password = "guess";
    store("the profile", wrong);
    EXPECT_TRUE(waitUntil([this] { return !isConnected() && !isRegistered(); }));
    EXPECT_EQ(connectAndWait("Profile0"), SIPD_ACK_INCORRECT_PROFILE);
    store("the profile", annasProfile());
    EXPECT_TRUE(waitUntil([this] { return isConnected() && isRegistered(); }));
}

TEST_P(RealServerLife, IsRenewedAtOnceByConnectingAgain)
{
    connectAnna();
    SIP_PROFILE_CONTENT bob = annasProfile();
    bob.userID = "bob";
    store("the profile", bob);
    EXPECT_EQ(connectAndWait("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(server.registered("bob"));
    EXPECT_TRUE(waitUntil([this] { return !isRegistered(); }, milliseconds(1000)));
    EXPECT_EQ(connectAndWait("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(server.registered("bob"));
}

TEST_P(RealServerLife, EndsWithItsProfile)
{
    connectAnna();
    remove("the profile");
    EXPECT_TRUE(
        waitUntil([this] { return statusOf("Profile0") == 0 && !isRegistered(); }, milliseconds(1500)));
}

TEST_P(RealServerLife, EndsWithTheDaemon)
{
    connectAnna();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(sipd.stop(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, seconds(4));
    EXPECT_FALSE(isRegistered());
}

TEST_P(RealServerLife, BeginsWithTheDaemonWhenTheProfileSaysSo)
{
    server.start();
    SIP_PROFILE_CONTENT anna = annasProfile();
    anna.autoConnect = true;
    store("the profile", anna);
    sipd.start();
    EXPECT_TRUE(waitUntil([this] { return isConnected() && isRegistered(); }));
}

TEST_F(RealServerTest, ARegistrationIsRefreshedForAsLongAsItLasts)
{
    // Client and server reckon in whole seconds; of a much shorter binding that would leave nothing.
    Kamailio server(workplace(), {.longestBindingSeconds = 6});
    server.start();
    sipd.start();
    for (const QString transport : {"udp", "tcp"}) {
        store(transport, record("127.0.0.1;transport=" + transport, server.port(), transport));
        const std::string group = transport == "udp" ? "Profile0" : "Profile1";
        ASSERT_EQ(connectAndWait(group), SIPD_ACK_SUCCESS);
    }
    const std::map<std::string, std::string> groups = {{"udp", "Profile0"}, {"tcp", "Profile1"}};
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
    sipd.start();
    for (const QString transport : {"udp", "tcp"}) {
        store("the profile", record("127.0.0.1;transport=" + transport, server.port(), "late"));
        {
            DaemonClient client;
            client.connect("Profile0");
            // The server has the password by now.
            EXPECT_FALSE(client.ack(Kamailio::LATENESS / 2));
        }
        EXPECT_TRUE(waitUntil([] { return statusOf("Profile0") == 0; }, milliseconds(500)));
        waitUntil([&] { return server.registered("late").has_value(); }, 2 * Kamailio::LATENESS);
        EXPECT_TRUE(waitUntil([&] { return !server.registered("late"); }, milliseconds(1000)))
            << qPrintable(transport);
        EXPECT_EQ(statusOf("Profile0"), 0U);
    }
}

TEST_F(RealServerTest, ACancelledConnectToASilentServerIsForgottenAtOnce)
{
    Kamailio server(workplace());
    server.start();
    sipd.start();
    store("the profile", record("127.0.0.1", server.port(), "silent"));
    {
        DaemonClient client;
        client.connect("Profile0");
        EXPECT_EQ(statusOf("Profile0"), 1U);
    }
    EXPECT_TRUE(waitUntil([] { return statusOf("Profile0") == 0; }, milliseconds(1000)));
    store("the profile", record("127.0.0.1", server.port(), "anna"));
    EXPECT_EQ(connectAndWait("Profile0"), SIPD_ACK_SUCCESS);
}
