// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// What the daemon does after an answer that is no acceptance: other addresses, redirections, pauses.

#include "VirtualSipTest.h"

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr char DOMAIN[] = "sip.example.com";

Outcome answerOf(int status, const std::string& words, std::chrono::seconds retryAfter = {})
{
    const auto ack = status == 503   ? SIPD_ACK_SERVICE_UNAVAILABLE
                     : status == 403 ? SIPD_ACK_INCORRECT_PROFILE
                                     : SIPD_ACK_FAILED;
    return {.ack = ack,
            .status = status,
            .words = std::to_string(status) + ' ' + words,
            .retryAfter = retryAfter};
}

Outcome busy(std::chrono::seconds retryAfter = {})
{
    return answerOf(503, "Too Many Phones", retryAfter);
}

Outcome redirection(const std::vector<std::string>& uris, int status = 302)
{
    Outcome outcome = answerOf(status, "Moved");
    outcome.redirects = uris;
    return outcome;
}

// A domain with two servers, 192.0.2.1 and 192.0.2.2, and a profile in it.
class Failover : public VirtualSipTest
{
protected:
    void startAt(const std::string& server = DOMAIN, bool autoConnect = false)
    {
        network.setAddresses(DOMAIN, {"192.0.2.1", "192.0.2.2"});
        start({{.number = 0, .user = "anna", .autoConnect = autoConnect, .server = server}});
    }
    // The log meanwhile.
    std::string logOf(const std::function<void()>& action) const
    {
        testing::internal::CaptureStderr();
        action();
        return testing::internal::GetCapturedStderr();
    }
};

using Redirection = Failover;

} // namespace

TEST_F(Failover, GoesOnToTheNextAddressOfABusyDomain)
{
    startAt();
    for (const Outcome& outcome : {busy(), busy(100s), answerOf(600, "Busy Everywhere")}) {
        network.setAnswer(SIPD_ACK_SUCCESS);
        network.setOutcomeAt("192.0.2.1", outcome);
        const std::string log = logOf([this] { EXPECT_EQ(connectProfile(0), SIPD_ACK_SUCCESS); });
        EXPECT_THAT(log, HasSubstr("Profile0 is not registered at 192.0.2.1: the server "));
        EXPECT_THAT(log, HasSubstr(outcome.words));
        EXPECT_THAT(network.routes().back(), HasSubstr("192.0.2.2:5060 udp"));
        disconnectProfile(0);
    }
}

TEST_F(Failover, AcknowledgesTheAnswerThatAllServersGive)
{
    startAt();
    network.setOutcome(busy());
    EXPECT_EQ(connectProfile(0), SIPD_ACK_SERVICE_UNAVAILABLE);
    network.setOutcome(answerOf(600, "Busy Everywhere"));
    EXPECT_EQ(connectProfile(0), SIPD_ACK_FAILED);
    EXPECT_THAT(network.routes(), SizeIs(4));
}

TEST_F(Failover, AcknowledgesAnAnswerRatherThanSilence)
{
    startAt();
    network.setOutcomeAt("192.0.2.1", busy());
    network.setOutcomeAt("192.0.2.2", std::nullopt);
    const Request request = connect(0);
    run();
    EXPECT_EQ(network.lastServer(), "192.0.2.2:5060 in 8000");
    run(8s);
    EXPECT_EQ(request->ack(), SIPD_ACK_SERVICE_UNAVAILABLE);
}

TEST_F(Failover, TakesTheSecondServersRejection)
{
    startAt();
    network.setOutcomeAt("192.0.2.1", busy());
    network.setOutcomeAt("192.0.2.2", answerOf(403, "Forbidden"));
    const std::string log = logOf([this] { EXPECT_EQ(connectProfile(0), SIPD_ACK_INCORRECT_PROFILE); });
    EXPECT_THAT(log, HasSubstr("Profile0 is not connected: the server rejects it: 403 Forbidden\n"));
}

TEST_F(Failover, LogsTheFirstReasonThatIsKnown)
{
    startAt();
    network.setOutcome(Outcome{.ack = SIPD_ACK_CONNECT_FAILED});
    network.setOutcomeAt("192.0.2.1",
                         Outcome{.ack = SIPD_ACK_CONNECT_FAILED, .words = "its certificate has expired"});
    const std::string log = logOf([this] { EXPECT_EQ(connectProfile(0), SIPD_ACK_CONNECT_FAILED); });
    EXPECT_THAT(log, HasSubstr("Profile0 is not connected: the server is not reached: its certificate has "
                               "expired\n"));
}

TEST_F(Failover, UsesTheTransportThatDnsNames)
{
    startAt();
    network.setAddresses(DOMAIN, {"192.0.2.1"}, Transport::Tls);
    EXPECT_EQ(connectProfile(0), SIPD_ACK_SUCCESS);
    EXPECT_EQ(network.routes().back(), "192.0.2.1:5060 tls to sip.example.com of sip.example.com");
    network.setOutcomeAt("192.0.2.1", redirection({"sip:192.0.2.9;transport=udp"}));
    EXPECT_EQ(connectProfile(0), SIPD_ACK_FAILED) << "it never leaves TLS";
}

TEST_F(Failover, MovesALostRegistrationToTheNextAddress)
{
    startAt();
    EXPECT_EQ(connectProfile(0), SIPD_ACK_SUCCESS);
    run(1h);
    network.lose("anna", busy(10min));
    run();
    EXPECT_EQ(status(0), 2);
    EXPECT_EQ(network.requests().back(), "3600000 register anna");
    EXPECT_THAT(network.routes().back(), HasSubstr("192.0.2.2:"));
}

TEST_F(Failover, PausesAsLongAsTheServersAsk)
{
    network.setOutcome(busy(100s));
    startAt(DOMAIN, true);
    network.setOutcomeAt("192.0.2.2", busy(50s));
    EXPECT_THAT(network.requests(), SizeIs(2));
    run(99s);
    registrations->reviewNetwork();
    run(999ms);
    EXPECT_THAT(network.requests(), SizeIs(2));
    run(1ms);
    EXPECT_THAT(network.requests(), SizeIs(4));
    run(49'999ms);
    EXPECT_THAT(network.requests(), SizeIs(4));
    run(1ms);
    EXPECT_THAT(network.requests(), SizeIs(6)) << "one of them asks for less";
}

TEST_F(Failover, PausesForAnHourAtMost)
{
    network.setOutcome(busy(std::chrono::seconds(4'294'967'295)));
    startAt("192.0.2.1", true);
    run(1h - 1ms);
    EXPECT_THAT(network.requests(), SizeIs(1));
    run(1ms);
    EXPECT_THAT(network.requests(), SizeIs(2));
    network.setOutcome(answerOf(403, "Forbidden", 600s));
    run(1h);
    network.setOutcome(answerOf(403, "Forbidden", 1s));
    run(600s);
    EXPECT_EQ(network.requests().back(), "7800000 register anna") << "after a rejection, too";
    run(300s);
    EXPECT_EQ(network.requests().back(), "8100000 register anna") << "at least the usual pause";
}

TEST_F(Failover, PausesNotForAServerWhileAnotherIsAway)
{
    network.setOutcome(Outcome{.ack = SIPD_ACK_CONNECT_FAILED});
    network.setOutcomeAt("192.0.2.1", busy(100s));
    startAt(DOMAIN, true);
    run(1s);
    EXPECT_THAT(network.requests(), SizeIs(4));
}

TEST_F(Failover, ConnectsAtOnceWhenAUserAsks)
{
    network.setOutcome(busy(100s));
    startAt(DOMAIN, true);
    network.setAnswer(SIPD_ACK_SUCCESS);
    EXPECT_EQ(connectProfile(0), SIPD_ACK_SUCCESS);
}

TEST_F(Redirection, IsFollowed)
{
    startAt();
    for (const int status : {301, 302}) {
        network.setAnswer(SIPD_ACK_SUCCESS);
        network.setOutcomeAt("192.0.2.1", redirection({"sip:anna@192.0.2.9:5070"}, status));
        EXPECT_EQ(connectProfile(0), SIPD_ACK_SUCCESS);
        EXPECT_EQ(network.routes().back(), "192.0.2.9:5070 udp to 192.0.2.9 of sip.example.com");
        EXPECT_EQ(network.lastServer(), "192.0.2.9:5070 in 8000");
        disconnectProfile(0);
    }
}

TEST_F(Redirection, LeadsThroughAProxy)
{
    startAt();
    network.setOutcomeAt("192.0.2.1", redirection({"sip:192.0.2.9;transport=tcp;lr"}, 305));
    EXPECT_EQ(connectProfile(0), SIPD_ACK_SUCCESS);
    EXPECT_EQ(network.routes().back(), "192.0.2.9:5060 tcp to sip.example.com of sip.example.com");
}

TEST_F(Redirection, LeadsToTheAddressesOfAName)
{
    startAt("192.0.2.7");
    network.setOutcomeAt("192.0.2.7", redirection({"sip:sip.example.com;transport=tls"}));
    network.setOutcomeAt("192.0.2.1", busy());
    EXPECT_EQ(connectProfile(0), SIPD_ACK_SUCCESS);
    EXPECT_EQ(network.routes().back(), "192.0.2.2:5061 tls to sip.example.com of 192.0.2.7");
}

TEST_F(Redirection, TriesItsServersInTurn)
{
    startAt("192.0.2.1");
    network.setOutcomeAt("192.0.2.1",
                         redirection({"mailto:anna@example.com", "sip:192.0.2.8", "sip:192.0.2.9"}));
    network.setOutcomeAt("192.0.2.8", Outcome{.ack = SIPD_ACK_CONNECT_FAILED});
    EXPECT_EQ(connectProfile(0), SIPD_ACK_SUCCESS);
    EXPECT_THAT(network.routes(), SizeIs(3));
    EXPECT_THAT(network.routes().back(), HasSubstr("192.0.2.9:5060 udp"));
}

TEST_F(Redirection, IsFollowedFiveTimesAtMost)
{
    startAt("192.0.2.10");
    for (int i = 10; i < 20; ++i)
        network.setOutcomeAt("192.0.2." + std::to_string(i),
                             redirection({"sip:192.0.2." + std::to_string(i + 1)}));
    const std::string log = logOf([this] { EXPECT_EQ(connectProfile(0), SIPD_ACK_FAILED); });
    EXPECT_THAT(log, HasSubstr("Profile0 is not connected: the server refuses: 302 Moved\n"));
    EXPECT_THAT(network.routes(), SizeIs(6));
}

TEST_F(Redirection, IsNotFollowedToAServerThatWasTried)
{
    startAt("192.0.2.1");
    network.setOutcomeAt("192.0.2.1", redirection({"sip:192.0.2.2"}));
    network.setOutcomeAt("192.0.2.2",
                         redirection({"sip:other@192.0.2.1:5060;transport=udp", "sip:sip.example.com"}));
    EXPECT_EQ(connectProfile(0), SIPD_ACK_CONNECT_FAILED);
    EXPECT_THAT(network.routes(), SizeIs(2));
}

TEST_F(Redirection, NeverLeavesTls)
{
    startAt("192.0.2.1;transport=tls");
    network.setOutcome(redirection({"sip:192.0.2.9;transport=udp", "sip:192.0.2.9;transport=tcp"}));
    EXPECT_EQ(connectProfile(0), SIPD_ACK_FAILED);
    EXPECT_THAT(network.routes(), ElementsAre("192.0.2.1:5061 tls to 192.0.2.1 of 192.0.2.1"));
    for (const char* uri :
         {"sip:192.0.2.9:5071", "sips:192.0.2.9:5071;transport=tcp", "sip:192.0.2.9:5071;transport=tls"}) {
        network.setAnswer(SIPD_ACK_SUCCESS);
        network.setOutcomeAt("192.0.2.1", redirection({"sip:192.0.2.9;transport=tcp", uri}));
        EXPECT_EQ(connectProfile(0), SIPD_ACK_SUCCESS) << uri;
        EXPECT_EQ(network.routes().back(), "192.0.2.9:5071 tls to 192.0.2.9 of 192.0.2.1") << uri;
        disconnectProfile(0);
    }
}

TEST_F(Redirection, EndsWithTheEightSeconds)
{
    startAt("192.0.2.1");
    const Request request = connectUnanswered(0);
    run(5s);
    network.setOutcomeAt("192.0.2.1", redirection({"sip:192.0.2.9"}));
    run();
    EXPECT_EQ(network.lastServer(), "192.0.2.9:5060 in 3000");
    run(3s);
    EXPECT_EQ(request->ack(), SIPD_ACK_CONNECT_FAILED);
}
