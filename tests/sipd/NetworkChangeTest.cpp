// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// What the daemon does when this machine's addresses and routes change.

#include "NetworkWatch.h"
#include "OwnNetwork.h"
#include "VirtualSipTest.h"

using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

class NetworkChange : public VirtualSipTest
{
protected:
    // Packets leave from that address now; from none when it is empty.
    void changeNetwork(const std::string& source)
    {
        network.setSource(source);
        network.setUp(!source.empty());
        registrations->reviewNetwork();
        run();
    }
};

} // namespace

TEST_F(NetworkChange, RegistersFromTheNewAddress)
{
    start({{0, "anna"}}, {0});
    run(1s);
    changeNetwork("198.51.100.7");
    EXPECT_EQ(status(0), 2);
    EXPECT_THAT(network.requests(),
                ElementsAre("0 register anna", "1000 unregister anna", "1000 register anna"));
}

TEST_F(NetworkChange, KeepsARegistrationFromTheSameAddress)
{
    start({{0, "anna"}}, {0});
    run(1s);
    changeNetwork("192.0.2.1");
    EXPECT_THAT(network.requests(), ElementsAre("0 register anna"));
}

TEST_F(NetworkChange, DoesNotWaitForTheFormerAddress)
{
    start({{0, "anna"}}, {0});
    network.setAnswer(std::nullopt);
    changeNetwork("198.51.100.7");
    EXPECT_THAT(network.requests(), ElementsAre("0 register anna", "0 unregister anna", "0 register anna"));
    EXPECT_EQ(status(0), 1);
    run(3s);
    EXPECT_EQ(network.attempts(), 1U) << "a server that cannot be reached is not told for ever";
    answer(SIPD_ACK_SUCCESS);
    EXPECT_EQ(status(0), 2);
}

TEST_F(NetworkChange, MovesAConnectThatIsUnderWay)
{
    start({{0, "anna"}});
    const Request connecting = connectUnanswered(0);
    run(5s);
    changeNetwork("198.51.100.7");
    EXPECT_THAT(network.requests(), ElementsAre("0 register anna", "5000 register anna"));
    run(2999ms);
    EXPECT_EQ(connecting->ack(), std::nullopt);
    run(1ms);
    EXPECT_EQ(connecting->ack(), SIPD_ACK_CONNECT_FAILED) << "it has 8 seconds in all";
}

TEST_F(NetworkChange, ShowsAtOnceThatThereIsNoNetwork)
{
    start({{0, "anna"}}, {0});
    changeNetwork("");
    EXPECT_EQ(status(0), 0);
}

TEST_F(NetworkChange, RegistersAtOnceWhenANetworkComesUp)
{
    start({{0, "anna"}}, {0});
    changeNetwork("");
    run(1h);
    changeNetwork("198.51.100.7");
    EXPECT_EQ(status(0), 2);
    EXPECT_EQ(network.requests().back(), "3600000 register anna");
}

TEST_F(NetworkChange, DoesNotRetryWhatTheServerHasRefused)
{
    start({{0, "anna"}, {1, "bert"}}, {0, 1});
    network.lose("anna", SIPD_ACK_INCORRECT_PROFILE);
    network.lose("bert", SIPD_ACK_FAILED);
    const auto before = network.requests();
    changeNetwork("198.51.100.7");
    EXPECT_EQ(network.requests(), before);
}

TEST_F(NetworkChange, ConnectsNothingThatIsNotConnected)
{
    start({{0, "anna"}, {1, "bert"}}, {0});
    disconnectProfile(0);
    const auto before = network.requests();
    changeNetwork("198.51.100.7");
    EXPECT_EQ(network.requests(), before);
}

TEST_F(NetworkChange, UsesTheNewNumbersOfTheFileInARetry)
{
    start({{0, "anna"}, {1, "bert"}}, {0, 1});
    changeNetwork("");
    place({{0, "bert"}});
    changeNetwork("198.51.100.7");
    EXPECT_THAT(network.users(), ElementsAre("bert"));
    EXPECT_EQ(status(0), 2);
}

TEST(NetworkWatch, TellsANewAddressOnce)
{
    checkInOwnNetwork({.hasInterface = true}, [] {
        EventLoop loop;
        int changes = 0;
        const NetworkWatch watch(loop, loop, [&changes] { ++changes; });
        EXPECT_TRUE(changeAddress("192.0.2.2"));
        while (changes == 0)
            loop.step();
        EXPECT_TRUE(changeAddress("192.0.2.3"));
        while (changes == 1)
            loop.step();
        return changes == 2;
    });
}
