// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The scripted daemon as a program and as a thread, and the example client.

#include "ChildProgram.h"
#include "LinkTest.h"
#include "Programs.h"

#include <fstream>

namespace {

class ExampleClient : public DaemonTest
{
protected:
    // The client connects Profile0 at a daemon with that scenario: its last line of output and exit status.
    void expectOutcome(const std::string& scenario, const std::string& lastLine, int status)
    {
        ChildProgram daemon({SCRIPTED_SIPD, scenario});
        ASSERT_EQ(daemon.readLine(), "listening on /tmp/sipd_us");
        ChildProgram client({EXAMPLE_CLIENT, "Profile0"});
        EXPECT_THAT(client.readRest(), testing::EndsWith(lastLine + '\n'));
        EXPECT_EQ(client.wait(), status) << scenario;
        EXPECT_EQ(daemon.readLine(), "client 1: register application 100");
        daemon.signal(SIGTERM);
        EXPECT_EQ(daemon.wait(), 0);
        EXPECT_EQ(access(SIPD_SOCKET_PATH, F_OK), -1) << "the socket is still there";
    }
};

class Program : public DaemonTest
{
};

// A client of the daemon for one scope.
class Client
{
public:
    Client() { EXPECT_EQ(SIP_COMM_ControlerConstruct(&handle), 0); }
    ~Client() { SIP_COMM_ControlerDestruct(&handle); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // Makes a request for Profile0, and returns its ack.
    uint32_t ackOf(int (*request)(_SIP_COMM_PROFILE_CONTROL_S*, const char*)) const
    {
        EXPECT_EQ(request(handle, "Profile0"), 0);
        return ack();
    }
    uint32_t ack() const
    {
        _SIPD_APP_ACK_E ack = SIPD_ACK_FAILED;
        EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 0);
        return ack;
    }

    _SIP_COMM_PROFILE_CONTROL_S* handle = nullptr;
};

class Scenarios : public DaemonTest
{
protected:
    // The answer to another client.
    static uint32_t statusOf(const char* name)
    {
        const Client client;
        _SIPD_PROFILE_STATUS_E status = static_cast<_SIPD_PROFILE_STATUS_E>(99);
        SIP_COMM_ControlerGetProfileStatus(client.handle, name, &status);
        return status;
    }
};

} // namespace

TEST_F(ExampleClient, PrintsEachAck)
{
    expectOutcome("admit", "Profile0: ack 0, success", 0);
    expectOutcome("ack:1", "Profile0: ack 1, failed", 1);
    expectOutcome("connect-ack:2", "Profile0: ack 2, service unavailable", 1);
    expectOutcome("ack:3", "Profile0: ack 3, incorrect profile", 1);
    expectOutcome("ack:4", "Profile0: ack 4, failure to reach the server", 1);
    expectOutcome("ack:5", "Profile0: ack 5, unknown", 1);
}

TEST_F(ExampleClient, WaitsForASlowDaemon)
{
    expectOutcome("friendly", "Profile0: ack 0, success", 0);
    expectOutcome("late:100", "Profile0: ack 0, success", 0);
    expectOutcome("single-bytes", "Profile0: ack 0, success", 0);
    expectOutcome("split-after:20", "Profile0: ack 0, success", 0);
}

TEST_F(ExampleClient, PrintsTheCauseOfAFailure)
{
    const std::string none = "connect-profile: the SIP daemon is not running or refuses the connection";
    expectOutcome("refuse", none, 2);
    expectOutcome("close-after:7", none, 2);
    expectOutcome("close-after:20", "connect-profile: the SIP daemon closed the connection", 2);
    expectOutcome("reset", "connect-profile: the connection to the SIP daemon failed", 2);
    expectOutcome("wrong-type:3", "connect-profile: the SIP daemon sent an unexpected message", 2);
}

TEST_F(Program, ListsEveryScenario)
{
    ChildProgram program({SCRIPTED_SIPD, "--list"});
    const std::string list = program.readRest();
    EXPECT_EQ(program.wait(), 0);
    for (const ScenarioEntry& entry : allScenarios()) {
        EXPECT_THAT('\n' + list, HasSubstr('\n' + std::string(entry.name) + ' '));
        EXPECT_THAT(list, HasSubstr(std::string(entry.meaning) + '\n'));
    }
}

TEST_F(Program, RejectsAnUnknownScenario)
{
    for (const char* name : {"admitted", "ack", "ack:", "ack:x", "admit:1", "ack:1x", "ack:4294967296", ""}) {
        ChildProgram program({SCRIPTED_SIPD, name});
        EXPECT_THAT(program.readRest(), StartsWith("scripted-sipd: no scenario")) << name;
        EXPECT_EQ(program.wait(), 2);
    }
}

TEST_F(Program, PrintsItsUsage)
{
    ChildProgram asked({SCRIPTED_SIPD, "--help"});
    EXPECT_THAT(asked.readRest(), StartsWith("usage: scripted-sipd SCENARIO"));
    EXPECT_EQ(asked.wait(), 0);
    ChildProgram unasked({SCRIPTED_SIPD});
    EXPECT_THAT(unasked.readRest(), StartsWith("usage: scripted-sipd SCENARIO"));
    EXPECT_EQ(unasked.wait(), 2);
}

TEST_F(Program, LeavesARunningDaemonAlone)
{
    play("admit");
    ChildProgram program({SCRIPTED_SIPD, "admit"});
    EXPECT_EQ(program.readRest(), "scripted-sipd: a daemon is already listening on /tmp/sipd_us\n");
    EXPECT_EQ(program.wait(), 1);
    const Client client;
    EXPECT_EQ(ScriptedDaemon(Scenario{}).start(), "a daemon is already listening on /tmp/sipd_us");
}

TEST_F(Program, LeavesAFileAtTheSocketsPathAlone)
{
    std::ofstream(SIPD_SOCKET_PATH) << "mine";
    EXPECT_EQ(ScriptedDaemon(Scenario{}).start(), "/tmp/sipd_us is there and is not a socket");
    std::string text;
    std::ifstream(SIPD_SOCKET_PATH) >> text;
    EXPECT_EQ(text, "mine");
    unlink(SIPD_SOCKET_PATH);
}

TEST_F(Scenarios, RememberTheConnectedProfiles)
{
    play("admit");
    const Client client;
    EXPECT_EQ(statusOf("Profile0"), 0U);
    EXPECT_EQ(client.ackOf(SIP_COMM_ControlerProfileConnect), SIPD_ACK_SUCCESS);
    EXPECT_EQ(statusOf("Profile0"), 2U);
    EXPECT_EQ(statusOf("Profile1"), 0U);
    EXPECT_EQ(client.ackOf(SIP_COMM_ControlerProfileDisconnect), SIPD_ACK_SUCCESS);
    EXPECT_EQ(statusOf("Profile0"), 0U);
}

TEST_F(Scenarios, ChangeNothingForARefusedRequest)
{
    play("connect-ack:4");
    const Client client;
    EXPECT_EQ(client.ackOf(SIP_COMM_ControlerProfileConnect), SIPD_ACK_CONNECT_FAILED);
    EXPECT_EQ(statusOf("Profile0"), 0U);
    EXPECT_EQ(client.ackOf(SIP_COMM_ControlerProfileDisconnect), SIPD_ACK_SUCCESS)
        << "disconnecting is not refused";
}

TEST_F(Scenarios, AnswerOthersDuringASlowConnect)
{
    play("friendly");
    const Client client;
    const auto start = std::chrono::steady_clock::now();
    SIP_COMM_ControlerProfileConnect(client.handle, "Profile0");
    EXPECT_EQ(statusOf("Profile0"), 0U) << "connected too early";
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_EQ(statusOf("Profile0"), 2U);
}

TEST_F(Scenarios, SendAStatusMessageAfterAdmission)
{
    play("status-message:3");
    SIP_COMM_Channel channel(SIPD_APPID_SETUP);
    _SIPD_MSG_TYPE_E type;
    _SIPD_APP_ACK_E ack;
    _SIPD_MSG_STATUS_S status;
    char sdp[SIPD_SDP_MAX];
    unsigned int sdpLen = 0;
    ASSERT_EQ(channel.connectDaemon(), 0);
    ASSERT_EQ(channel.recvMsgType(&type), 0);
    ASSERT_EQ(channel.recvAckMsg(&ack), 0);
    ASSERT_EQ(channel.recvMsgType(&type), 0);
    EXPECT_EQ(channel.recvStatusMsg(&status, sdp, &sdpLen), 0);
    EXPECT_EQ(std::string(sdp, sdpLen), "vvv");
}

TEST_F(Scenarios, MayAnswerNothing)
{
    play("silent");
    TestChannel channel;
    ASSERT_EQ(channel.connectDaemon(), 0);
    ASSERT_TRUE(daemon().waitForBytes(12));
    char byte;
    EXPECT_EQ(recv(channel.getFd(), &byte, 1, MSG_DONTWAIT), -1);
}
