// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The states of registrations, in virtual time: outcomes, timeouts, retries, cancelled requests.

#include "VirtualSipTest.h"

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using RegistrationTest = VirtualSipTest;

} // namespace

TEST_F(RegistrationTest, RegistersAndUnregisters)
{
    start({{0, "anna"}});
    EXPECT_EQ(status(0), 0);
    const Request connecting = connectUnanswered(0);
    run(100ms);
    EXPECT_EQ(status(0), 1);
    answer(SIPD_ACK_SUCCESS);
    EXPECT_EQ(connecting->ack(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(status(0), 2);
    EXPECT_EQ(disconnectProfile(0), SIPD_ACK_SUCCESS);
    EXPECT_EQ(status(0), 0);
    EXPECT_EQ(disconnectProfile(0), SIPD_ACK_SUCCESS) << "though it is not connected";
    EXPECT_THAT(network.requests(), ElementsAre("0 register anna", "100 unregister anna"));
    EXPECT_EQ(network.attempts(), 0U);
}

TEST_F(RegistrationTest, PassesTheOutcomeOn)
{
    start({{0, "anna"}});
    for (const auto ack : {SIPD_ACK_FAILED, SIPD_ACK_SERVICE_UNAVAILABLE, SIPD_ACK_INCORRECT_PROFILE,
                           SIPD_ACK_CONNECT_FAILED}) {
        network.setAnswer(ack);
        EXPECT_EQ(connectProfile(0), ack);
        EXPECT_EQ(status(0), 0);
    }
}

TEST_F(RegistrationTest, RejectsInvalidProfilesWithoutARequest)
{
    start({{.number = 0, .user = "anna", .server = ""},
           {.number = 1, .user = "anna", .server = "two words"},
           {.number = 2, .user = "anna", .port = 0},
           {.number = 3, .user = "anna", .port = 65536},
           {.number = 4, .user = "", .displayName = "Home"},
           {.number = 5, .user = R"(anna\r\nVia: x)"},
           {.number = 6, .user = "anna", .displayName = ""}});
    for (int number = 0; number < 8; ++number)
        EXPECT_EQ(connectProfile(number), SIPD_ACK_INCORRECT_PROFILE) << number;
    EXPECT_THAT(network.requests(), IsEmpty());
}

TEST_F(RegistrationTest, GivesUpOnASilentServerAfterEightSeconds)
{
    start({{0, "anna"}});
    const Request request = connectUnanswered(0);
    run(7999ms);
    EXPECT_EQ(request->ack(), std::nullopt);
    EXPECT_EQ(status(0), 1);
    run(1ms);
    EXPECT_EQ(request->ack(), SIPD_ACK_CONNECT_FAILED);
    EXPECT_EQ(status(0), 0);
    EXPECT_EQ(network.lastServer(), "127.0.0.1:5060 in 8000");
    EXPECT_EQ(network.attempts(), 0U);
}

TEST_F(RegistrationTest, EndsASilentDisconnectAfterThreeSeconds)
{
    start({{0, "anna"}}, {0});
    const Request request = disconnectUnanswered(0);
    EXPECT_EQ(status(0), 0) << "at once";
    run(2999ms);
    EXPECT_EQ(request->ack(), std::nullopt);
    run(1ms);
    EXPECT_EQ(request->ack(), SIPD_ACK_SUCCESS);
}

TEST_F(RegistrationTest, SharesTheTimeAmongRoutableAddresses)
{
    start({{.number = 0, .user = "anna", .server = "sip.example.com"}});
    network.setAnswer(std::nullopt);
    network.setAddresses("sip.example.com", {"192.0.2.1", "2001:db8::1", "192.0.2.2"});
    network.setUnroutable({"[2001:db8::1]"});
    const Request request = connect(0);
    run();
    EXPECT_EQ(network.lastServer(), "192.0.2.1:5060 in 4000");
    run(4000ms);
    EXPECT_EQ(network.lastServer(), "192.0.2.2:5060 in 4000");
    run(3999ms);
    EXPECT_EQ(request->ack(), std::nullopt);
    run(1ms);
    EXPECT_EQ(request->ack(), SIPD_ACK_CONNECT_FAILED);
}

TEST_F(RegistrationTest, GivesEachAddressHalfASecondAtLeast)
{
    start({{.number = 0, .user = "anna", .server = "sip.example.com"}});
    network.setAnswer(std::nullopt);
    network.setAddresses("sip.example.com", std::vector<std::string>(32, "192.0.2.1"));
    const Request request = connect(0);
    run();
    EXPECT_EQ(network.lastServer(), "192.0.2.1:5060 in 500");
    run(8000ms);
    EXPECT_EQ(request->ack(), SIPD_ACK_CONNECT_FAILED);
    EXPECT_EQ(network.requests().size(), 16U);
}

TEST_F(RegistrationTest, TriesNoOtherAddressAfterAnAnswer)
{
    start({{.number = 0, .user = "anna", .server = "sip.example.com"}});
    network.setAnswer(SIPD_ACK_INCORRECT_PROFILE);
    network.setAddresses("sip.example.com", {"192.0.2.1", "192.0.2.2"});
    EXPECT_EQ(connectProfile(0), SIPD_ACK_INCORRECT_PROFILE);
    EXPECT_EQ(network.requests().size(), 1U);
}

TEST_F(RegistrationTest, TellsAnUnreachedServerFromAMissingNetwork)
{
    start({{.number = 0, .user = "anna", .server = "sip.example.com"},
           {.number = 1, .user = "anna", .server = "192.0.2.1"}});
    network.setAddresses("sip.example.com", {});
    network.setUnroutable({"192.0.2.1"});
    for (const bool isUp : {true, false}) {
        network.setUp(isUp);
        const auto ack = isUp ? SIPD_ACK_CONNECT_FAILED : SIPD_ACK_SERVICE_UNAVAILABLE;
        EXPECT_EQ(connectProfile(0), ack);
        EXPECT_EQ(connectProfile(1), ack);
    }
    EXPECT_THAT(network.requests(), IsEmpty());
}

TEST_F(RegistrationTest, CountsTheTimeOfTheLookup)
{
    start({{.number = 0, .user = "anna", .server = "slow.example.com"},
           {.number = 1, .user = "bert", .server = "silent.example.com"}});
    const Request slow = connectUnanswered(0);
    const Request silent = connect(1);
    run(5000ms);
    EXPECT_EQ(status(0), 1);
    network.setAddresses("slow.example.com", {"192.0.2.1"});
    run();
    EXPECT_EQ(network.lastServer(), "192.0.2.1:5060 in 3000");
    run(3000ms);
    EXPECT_EQ(slow->ack(), SIPD_ACK_CONNECT_FAILED);
    EXPECT_EQ(silent->ack(), SIPD_ACK_CONNECT_FAILED);
}

TEST_F(RegistrationTest, ConnectsAutomaticallyAtTheStart)
{
    start({{0, "anna"}, {1, "bert", "secret", true}, {9, "cleo", "secret", true}});
    EXPECT_EQ(status(1), 2);
    EXPECT_EQ(status(9), 2);
    EXPECT_EQ(status(0), 0);
    EXPECT_EQ(disconnectProfile(1), SIPD_ACK_SUCCESS);
    run(1h);
    EXPECT_THAT(network.users(), ElementsAre("cleo"));
}

TEST_F(RegistrationTest, ConnectsAHundredProfilesAutomatically)
{
    std::vector<PlacedProfile> places;
    for (int number = 0; number <= 100; ++number)
        places.push_back({number, "anna", "secret", true});
    start(places);
    EXPECT_EQ(network.users().size(), 100U);
    EXPECT_EQ(status(99), 2);
    EXPECT_EQ(status(100), 0);
}

TEST_F(RegistrationTest, RetriesAfterGrowingPauses)
{
    place({{0, "anna", "secret", true}});
    network.setAnswer(SIPD_ACK_SERVICE_UNAVAILABLE);
    start();
    EXPECT_EQ(status(0), 0);
    run(183s);
    EXPECT_THAT(network.requests(),
                ElementsAre("0 register anna", "1000 register anna", "3000 register anna",
                            "7000 register anna", "15000 register anna", "31000 register anna",
                            "63000 register anna", "123000 register anna", "183000 register anna"));
    network.setAnswer(SIPD_ACK_SUCCESS);
    run(1min);
    EXPECT_EQ(status(0), 2);
    network.setAnswer(SIPD_ACK_FAILED);
    network.lose("anna", SIPD_ACK_FAILED);
    run(1s);
    EXPECT_EQ(network.requests().back(), "244000 register anna") << "the first pause is short again";
}

TEST_F(RegistrationTest, RetriesARejectedProfileEveryFiveMinutes)
{
    place({{0, "anna", "wrong", true}});
    network.setAnswer(SIPD_ACK_INCORRECT_PROFILE);
    start();
    run(10min);
    EXPECT_THAT(network.requests(),
                ElementsAre("0 register anna", "300000 register anna", "600000 register anna"));
    network.setAnswer(SIPD_ACK_SUCCESS);
    place({{0, "anna", "right", true}});
    EXPECT_EQ(status(0), 1) << "a changed profile is tried at once";
    run();
    EXPECT_EQ(status(0), 2);
}

TEST_F(RegistrationTest, DoesNotRetryAConnectThatFailed)
{
    place({{0, "anna"}});
    network.setAnswer(SIPD_ACK_FAILED);
    start();
    EXPECT_EQ(connectProfile(0), SIPD_ACK_FAILED);
    run(1h);
    EXPECT_EQ(network.requests().size(), 1U);
    EXPECT_EQ(status(0), 0);
}

TEST_F(RegistrationTest, RetriesALostRegistration)
{
    start({{0, "anna"}}, {0});
    network.lose("anna", SIPD_ACK_FAILED);
    EXPECT_EQ(status(0), 0);
    run(1s);
    EXPECT_EQ(status(0), 2);
    EXPECT_THAT(network.requests(), ElementsAre("0 register anna", "1000 register anna"));
}

TEST_F(RegistrationTest, RegistersAgainWhenConnectedTwice)
{
    start({{0, "anna"}}, {0, 0});
    EXPECT_THAT(network.requests(), ElementsAre("0 register anna", "0 unregister anna", "0 register anna"));
    EXPECT_THAT(network.users(), ElementsAre("anna"));
    network.setAnswer(SIPD_ACK_INCORRECT_PROFILE);
    EXPECT_EQ(connectProfile(0), SIPD_ACK_INCORRECT_PROFILE);
    EXPECT_EQ(status(0), 0);
}

TEST_F(RegistrationTest, UnregistersBeforeItRegistersAgain)
{
    start({{0, "anna"}}, {0});
    const Request request = connectUnanswered(0);
    EXPECT_EQ(status(0), 1);
    run(8s);
    EXPECT_EQ(request->ack(), SIPD_ACK_CONNECT_FAILED);
    EXPECT_THAT(network.requests(),
                ElementsAre("0 register anna", "0 unregister anna", "3000 register anna"));
    EXPECT_EQ(network.lastServer(), "127.0.0.1:5060 in 5000");
}

TEST_F(RegistrationTest, RegistersAChangedProfileAgain)
{
    start({{0, "anna"}}, {0});
    place({{.number = 0, .user = "bert", .displayName = "anna"}});
    run(100ms);
    EXPECT_THAT(network.users(), ElementsAre("bert"));
    EXPECT_EQ(status(0), 2);
}

TEST_F(RegistrationTest, KeepsAnUnchangedAccount)
{
    start({{0, "anna"}}, {0});
    place({{.number = 0, .user = "anna", .displayName = "Another"}, {1, "bert"}});
    run(1h);
    EXPECT_EQ(status(0), 2);
    EXPECT_EQ(network.requests().size(), 1U);
}

TEST_F(RegistrationTest, TakesAChangeDuringAnAttempt)
{
    start({{0, "anna"}});
    const Request request = connectUnanswered(0);
    run(1s);
    place({{.number = 0, .user = "bert", .displayName = "anna"}});
    EXPECT_EQ(status(0), 1);
    answer(SIPD_ACK_SUCCESS);
    EXPECT_EQ(request->ack(), SIPD_ACK_SUCCESS);
    EXPECT_THAT(network.users(), ElementsAre("bert"));
    EXPECT_THAT(network.requests(),
                ElementsAre("0 register anna", "1000 register bert", "1000 unregister anna"));
}

TEST_F(RegistrationTest, KeepsTheDeadlineWhenTheProfileChanges)
{
    start({{0, "anna"}});
    const Request request = connectUnanswered(0);
    run(2s);
    place({{.number = 0, .user = "bert", .displayName = "anna"}});
    EXPECT_EQ(status(0), 1);
    EXPECT_EQ(network.lastServer(), "127.0.0.1:5060 in 6000");
    run(5999ms);
    EXPECT_EQ(request->ack(), std::nullopt);
    run(1ms);
    EXPECT_EQ(request->ack(), SIPD_ACK_CONNECT_FAILED);
}

TEST_F(RegistrationTest, UnregistersADeletedProfile)
{
    start({{0, "anna"}, {1, "bert"}}, {0, 1});
    place({{1, "bert"}});
    EXPECT_EQ(status(0), 0);
    run();
    EXPECT_THAT(network.users(), ElementsAre("bert"));
    place({{0, "cleo"}, {1, "bert"}});
    run(1h);
    EXPECT_EQ(status(0), 0) << "another profile with the number is not connected";
    place("[ProfileSummary]\nTotalProfile=0\n");
    EXPECT_EQ(status(1), 0);
    run();
    EXPECT_THAT(network.users(), IsEmpty());
    EXPECT_TRUE(registrations->isEmpty());
}

TEST_F(RegistrationTest, ForgetsADeletedInvalidProfile)
{
    start({{.number = 0, .user = "anna", .autoConnect = true, .server = ""}});
    place("");
    EXPECT_EQ(status(0), 0);
    place({{0, "cleo"}});
    run(1h);
    EXPECT_THAT(network.requests(), IsEmpty());
}

TEST_F(RegistrationTest, FailsAConnectOfADeletedProfile)
{
    start({{0, "anna"}});
    const Request request = connectUnanswered(0);
    run();
    place("");
    run(100ms);
    EXPECT_EQ(request->ack(), SIPD_ACK_INCORRECT_PROFILE);
}

TEST_F(RegistrationTest, CancelsTheConnectOfAClientThatLeaves)
{
    start({{0, "anna"}});
    Request request = connectUnanswered(0);
    run();
    request.reset();
    EXPECT_EQ(status(0), 0);
    answer(SIPD_ACK_SUCCESS);
    EXPECT_THAT(network.requests(), ElementsAre("0 register anna", "0 unregister anna"))
        << "the server has accepted it after all";
    EXPECT_EQ(status(0), 0);
    EXPECT_EQ(network.attempts(), 0U);
}

TEST_F(RegistrationTest, LeavesOtherClientsTheirConnect)
{
    start({{0, "anna"}});
    Request leaving = connectUnanswered(0);
    const Request staying = connect(0);
    run();
    leaving.reset();
    EXPECT_EQ(status(0), 1);
    answer(SIPD_ACK_SUCCESS);
    EXPECT_EQ(staying->ack(), SIPD_ACK_SUCCESS);
    EXPECT_THAT(network.requests(), ElementsAre("0 register anna"));
}

TEST_F(RegistrationTest, LimitsCancelledAttempts)
{
    start({{0, "anna"}});
    network.setAnswer(std::nullopt);
    for (int i = 0; i < 60; ++i) {
        const Request request = connect(0);
        run(1ms);
        EXPECT_EQ(status(0), 1);
    }
    EXPECT_EQ(status(0), 0);
    EXPECT_EQ(network.attempts(), 5U);
    const Request request = connect(0);
    run(7943ms);
    EXPECT_EQ(network.requests().back(), "8000 register anna") << "when one of them is gone";
    run(8s);
    EXPECT_EQ(network.attempts(), 0U);
}

TEST_F(RegistrationTest, EndsTheConnectOfAnotherByADisconnect)
{
    start({{0, "anna"}});
    const Request connecting = connectUnanswered(0);
    run();
    const Request disconnecting = disconnect(0);
    EXPECT_EQ(connecting->ack(), SIPD_ACK_FAILED);
    EXPECT_EQ(status(0), 0);
    run(2999ms);
    EXPECT_EQ(disconnecting->ack(), std::nullopt);
    run(1ms);
    EXPECT_EQ(disconnecting->ack(), SIPD_ACK_SUCCESS);
}

TEST_F(RegistrationTest, EndsEverything)
{
    start({{0, "anna"}, {1, "bert"}, {2, "cleo"}}, {0, 1});
    const Request disconnecting = disconnectUnanswered(1);
    const Request connecting = connect(2);
    run();
    registrations->end();
    EXPECT_EQ(connecting->ack(), SIPD_ACK_FAILED);
    answer(SIPD_ACK_SUCCESS);
    EXPECT_EQ(disconnecting->ack(), SIPD_ACK_SUCCESS);
    EXPECT_THAT(network.users(), IsEmpty());
    EXPECT_TRUE(registrations->isEmpty());
    place({{0, "anna", "secret", true}});
    run(1h);
    EXPECT_TRUE(registrations->isEmpty()) << "the settings file no longer counts";
}

TEST_F(RegistrationTest, StartsNothingAfterTheEnd)
{
    start();
    registrations->end();
    place({{0, "anna", "secret", true}});
    run(1h);
    EXPECT_THAT(network.requests(), IsEmpty());
}

TEST_F(RegistrationTest, KeepsANameForEachOf256Applications)
{
    start();
    EXPECT_EQ(registrations->name(7), "");
    for (uint32_t application = 0; application < 256; ++application)
        EXPECT_EQ(registrations->setName(application, "n"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(registrations->setName(256, "n"), SIPD_ACK_FAILED);
    EXPECT_EQ(registrations->setName(3, "m"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(registrations->name(3), "m");
    EXPECT_EQ(registrations->name(7), "n");
}
