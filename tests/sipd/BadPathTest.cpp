// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The daemon at a registrar behind a bad path: loss, delay, tiny segments, malformed answers.

#include "DatagramRelay.h"
#include "SipdProcess.h"
#include "StreamRelay.h"
#include "TestRegistrar.h"

#include <gtest/gtest.h>

#include <set>
#include <utility>

using namespace std::chrono_literals;

namespace {

class BadPath : public SipdTest
{
protected:
    void askForPassword() { registrar.setAccount({.user = "anna", .password = "secret", .realm = "realm"}); }

    // Profile0, at a server on this machine.
    static void writeProfileAt(unsigned int port, const std::string& transport)
    {
        writeProfile("Profile0", {.server = "127.0.0.1;transport=" + transport, .port = port});
    }
    // Connects and disconnects Profile0 through malformed answers. Every request gets an ack.
    void sendMutants(const DatagramRelay& relay, size_t count)
    {
        SipdClient client;
        client.introduce();
        while (relay.mutantsSent() < count && !HasFailure()) {
            acks.insert(client.request(PROFILE_CTRL_CONNECT, "Profile0"));
            ASSERT_LE(client.request(PROFILE_CTRL_DISCONNECT, "Profile0"), SIPD_ACK_CONNECT_FAILED);
        }
    }
    // The same over a stream. A stream is no good any more after malformed answers: it breaks once the daemon
    // has read them, or else the daemon would wait for the answer.
    void sendMutants(StreamRelay& relay, size_t count)
    {
        SipdClient client;
        client.introduce();
        SipdClient observer;
        observer.introduce();
        while (relay.mutantsSent() < count && !HasFailure()) {
            relay.setMalforms(true);
            size_t answers = relay.answersSent();
            client.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile0"));
            while (observer.status("Profile0") == 1U) {
                if (std::exchange(answers, relay.answersSent()) == answers)
                    continue;
                observer.status("Profile0");
                relay.reset();
            }
            acks.insert(client.ack());
            relay.setMalforms(false);
            ASSERT_LE(client.request(PROFILE_CTRL_DISCONNECT, "Profile0"), SIPD_ACK_CONNECT_FAILED);
        }
    }
    // The daemon is as good as new.
    static void checkThatItConnects()
    {
        EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
        EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    }

    // The malformed answers were not just ignored.
    void checkAcks() const
    {
        EXPECT_TRUE(acks.contains(SIPD_ACK_SUCCESS));
        EXPECT_TRUE(acks.contains(SIPD_ACK_FAILED));
        EXPECT_LE(*acks.rbegin(), static_cast<uint32_t>(SIPD_ACK_CONNECT_FAILED));
    }

    TestRegistrar registrar;
    std::set<uint32_t> acks; // of the requests to connect through malformed answers
};

class Loss : public SipdTest
{
protected:
    // How many of ten profiles connect at the first try.
    static int connectThrough(const DatagramRelay& relay)
    {
        constexpr int profiles = 10;
        for (int i = 0; i < profiles; ++i) {
            const std::string number = std::to_string(i);
            writeProfile("Profile" + number,
                         {.port = relay.port(), .user = "user" + number, .displayName = number});
        }
        std::vector<SipdClient> clients;
        for (int i = 0; i < profiles; ++i)
            clients.emplace_back(PROFILE_CTRL_CONNECT, "Profile" + std::to_string(i));
        int connected = 0;
        for (SipdClient& client : clients)
            connected += client.ack() == SIPD_ACK_SUCCESS ? 1 : 0;
        return connected;
    }

    TestRegistrar registrar;
};

} // namespace

// In the 8 seconds a request is sent five times. So of 100 connects 97 succeed when 30 of 100 messages are
// lost, and 76 when half are lost. Without repetitions it would be 49 and 25.
TEST_F(Loss, OfAThirdIsMadeUpForByRepeating)
{
    DatagramRelay relay(registrar.port(), {.lossPercent = 30});
    startDaemon();
    EXPECT_GE(connectThrough(relay), 8);
    EXPECT_GT(relay.lost(), 10U);
    relay.stopFaults();
}

TEST_F(Loss, OfHalfIsMadeUpForByRepeating)
{
    DatagramRelay relay(registrar.port(), {.lossPercent = 50});
    startDaemon();
    EXPECT_GE(connectThrough(relay), 5);
    EXPECT_GT(relay.lost(), 20U);
    relay.stopFaults();
}

TEST_F(BadPath, DelaysAnswersUntilRequestsAreRepeated)
{
    DatagramRelay relay(registrar.port(), {.delay = 700ms});
    writeProfileAt(relay.port(), "udp");
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_GT(registrar.requests().size(), 1U) << "the first request was repeated";
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(registrar.contacts().empty());
}

TEST_F(BadPath, SplitsAnswersIntoSingleBytes)
{
    askForPassword();
    StreamRelay relay(registrar.port(), {.isBytewise = true});
    writeProfileAt(relay.port(), "tcp");
    startDaemon();
    checkThatItConnects();
    EXPECT_TRUE(registrar.contacts().empty());
    EXPECT_GT(relay.segmentsSent(), 500U);
}

TEST_F(BadPath, MalformsAnswersOverUdp)
{
    askForPassword();
    DatagramRelay relay(registrar.port(), {.mutants = 20});
    writeProfileAt(relay.port(), "udp");
    startDaemon();
    sendMutants(relay, 10'000);
    relay.stopFaults();
    checkAcks();
    checkThatItConnects();
}

TEST_F(BadPath, MalformsAnswersOverTcp)
{
    askForPassword();
    StreamRelay relay(registrar.port(), {.mutants = 3});
    writeProfileAt(relay.port(), "tcp");
    startDaemon();
    sendMutants(relay, 10'000);
    checkAcks();
    checkThatItConnects();
}
