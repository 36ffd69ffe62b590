// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "LinkTest.h"

#include <poll.h>
#include <sys/wait.h>

namespace {

using Handle = _SIP_COMM_PROFILE_CONTROL_S;

const std::string receivedAck = channelInfo("recvAckMsg", "recieve ack message");
const std::string readAck = "{4} SIP_COMM_Controler.cpp\t read ack command";
const std::string receivedProfile = channelInfo("recvProfileMsg", "recieve profile message");
const std::string readProfile = "{4} SIP_COMM_Controler.cpp\t read profile control command";
const std::string peerClosed = channelError("socket has been closed");
const std::string brokenPipe = channelError("fail when read or write socket 32");
const std::string connectionReset = channelError("fail when read or write socket 104");
const std::string headNotSent = channelInfo("sendProfileMsg", " fail send head message");
const std::string notSent = controlerError("fail send to daemon");
const std::string closing = controlerError("close daemon connection");
const std::string queryNotSent = controlerError("fail write get profile status command");
const std::string queryNotAnswered = controlerError("fail write read profile status ");
const std::string writeMsgNotConnected = "{4} SIP_COMM_Controler.cpp, WriteMsg()\tconnect daemon first";

std::string unexpected(const std::string& type)
{
    return controlerError(" read unexpected message " + type);
}

class Controler : public DaemonTest
{
protected:
    ~Controler() override { SIP_COMM_ControlerDestruct(&handle); }

    void construct(std::string_view scenario)
    {
        SIP_COMM_ControlerDestruct(&handle);
        play(scenario);
        ASSERT_EQ(SIP_COMM_ControlerConstruct(&handle), SIP_COMM_SUCCESS);
        ASSERT_NE(handle, nullptr);
    }

    // Construct fails and writes that log.
    void expectRefusal(std::string_view scenario, const std::vector<std::string>& log)
    {
        play(scenario);
        auto* refused = reinterpret_cast<Handle*>(this);
        SCOPED_TRACE(scenario);
        expectLog(log, [&] { EXPECT_EQ(SIP_COMM_ControlerConstruct(&refused), SIP_COMM_FAILED); });
        EXPECT_EQ(refused, nullptr);
        EXPECT_TRUE(daemon().waitForClosed(1));
    }

    int connect() { return SIP_COMM_ControlerProfileConnect(handle, "Profile0"); }
    int getAck() { return SIP_COMM_ControlerGetAck(handle, &ack); }
    int getStatus() { return SIP_COMM_ControlerGetProfileStatus(handle, "Profile0", &status); }
    int getName(char* buffer, int size)
    {
        return SIP_COMM_ControlerGetProfileName(handle, SIPD_APPID_SETUP, buffer, size);
    }

    // The call has that result and writes those log lines.
    template <class Call, class... Lines>
    static void expectCall(Call call, int result, const Lines&... lines)
    {
        expectLog({lines...}, [&] { EXPECT_EQ(call(), result); });
    }

    Handle* handle = nullptr;
    _SIPD_APP_ACK_E ack = SIPD_ACK_FAILED;
    _SIPD_PROFILE_STATUS_E status = static_cast<_SIPD_PROFILE_STATUS_E>(77);
};

} // namespace

TEST_F(Controler, IsAdmittedByEveryAckButOne)
{
    for (const int value : {0, 2, 3, 4, 5}) {
        play("registration-ack:" + std::to_string(value));
        expectCall([&] { return SIP_COMM_ControlerConstruct(&handle); }, SIP_COMM_SUCCESS, receivedAck,
                   readAck);
        ASSERT_NE(handle, nullptr) << value;
        EXPECT_EQ(handle->connected, 1);
        EXPECT_EQ(handle->waitAck, 0);
        EXPECT_GT(SIP_COMM_ControlerGetFd(handle), 0);
        EXPECT_EQ(SIP_COMM_ControlerDestruct(&handle), SIP_COMM_SUCCESS);
        EXPECT_EQ(handle, nullptr);
        EXPECT_TRUE(daemon().waitForClosed(1));
        EXPECT_EQ(daemon().received(), encodeHead(0, SIPD_MSG_REGISTER, 100));
    }
}

TEST_F(Controler, IsRefusedByAckOneAndByAnotherMessage)
{
    expectRefusal("registration-ack:1", {receivedAck, readAck});
    expectRefusal("registration-type:3", {unexpected("3"), closing});
    expectRefusal("registration-type:0", {unexpected("0"), closing});
    expectRefusal("registration-type:4294967295", {unexpected("-1"), closing});
}

TEST_F(Controler, ReportsAMissingDaemon)
{
    handle = reinterpret_cast<Handle*>(this);
    expectCall([&] { return SIP_COMM_ControlerConstruct(&handle); }, SIP_COMM_FAILED,
               channelError("connect fail path /tmp/sipd_us"), controlerError("Fail to connect daemon"));
    EXPECT_EQ(handle, nullptr);
}

TEST_F(Controler, IsAdmittedByAnAckOfAnyAnnouncedLength)
{
    for (const char* length : {"0", "1", "4294967295"})
        construct(std::string("registration-length:") + length);
}

TEST_F(Controler, IsRefusedWhenTheDaemonClosesAtAnyByteOfItsAnswer)
{
    for (int sent = 0; sent < 16; ++sent) {
        std::vector<std::string> log = {peerClosed, channelError("read head fail"), closing};
        if (sent >= 12)
            log = {receivedAck, peerClosed, channelError("read ack messsage fail"), readAck, closing};
        expectRefusal("close-after:" + std::to_string(sent), log);
    }
}

TEST_F(Controler, FailsAQueryWhenTheDaemonClosesAtAnyByte)
{
    for (int sent = 0; sent < 152; ++sent) {
        // 0 would end the connection together with the registration.
        construct(sent == 0 ? "reset" : "close-after:" + std::to_string(16 + sent));
        EXPECT_EQ(getStatus(), sent == 0 ? SIP_COMM_IO_ERROR : SIP_COMM_CLOSED) << sent;
        EXPECT_EQ(handle->connected, 0);
        EXPECT_EQ(SIP_COMM_ControlerGetFd(handle), -1);
    }
    EXPECT_EQ(status, 77) << "set by a query that failed";
}

TEST_F(Controler, FailsToGetAnAckWhenTheDaemonClosesAtAnyByte)
{
    for (int sent = 1; sent < 16; ++sent) {
        construct("close-after:" + std::to_string(16 + sent));
        EXPECT_EQ(connect(), SIP_COMM_SUCCESS);
        EXPECT_EQ(getAck(), SIP_COMM_CLOSED) << sent;
        EXPECT_EQ(handle->connected, 0);
        EXPECT_EQ(handle->waitAck, 0);
    }
}

TEST_F(Controler, UnderstandsAnswersInPieces)
{
    for (int byte = 1; byte < 16 + 152; ++byte) {
        construct("split-after:" + std::to_string(byte));
        EXPECT_EQ(getStatus(), SIP_COMM_SUCCESS) << byte;
        EXPECT_EQ(status, 0U);
    }
    construct("single-bytes");
    EXPECT_EQ(connect(), SIP_COMM_SUCCESS);
    EXPECT_EQ(getAck(), SIP_COMM_SUCCESS);
    EXPECT_EQ(ack, SIPD_ACK_SUCCESS);
    EXPECT_EQ(getStatus(), SIP_COMM_SUCCESS);
    EXPECT_EQ(status, SIPD_PROFILE_CONNECTED);
}

TEST_F(Controler, FailsOnAReset)
{
    construct("reset");
    EXPECT_EQ(connect(), SIP_COMM_SUCCESS);
    ASSERT_TRUE(daemon().waitForClosed(1));
    expectCall([&] { return getAck(); }, SIP_COMM_IO_ERROR, connectionReset, channelError("read head fail"),
               closing);
}

// The vectors have the bytes of each request.
TEST_F(Controler, LogsAnswersAndNoRequests)
{
    construct("admit");
    expectCall([&] { return connect(); }, SIP_COMM_SUCCESS);
    EXPECT_EQ(handle->waitAck, 1);
    expectCall([&] { return getAck(); }, SIP_COMM_SUCCESS, receivedAck, readAck);
    EXPECT_EQ(handle->waitAck, 0);
    expectCall([&] { return getStatus(); }, SIP_COMM_SUCCESS, receivedProfile, readProfile);
    EXPECT_EQ(status, SIPD_PROFILE_CONNECTED);
    EXPECT_EQ(SIP_COMM_ControlerProfileDisconnect(handle, "Profile0"), SIP_COMM_SUCCESS);
    EXPECT_EQ(getAck(), SIP_COMM_SUCCESS);
    EXPECT_EQ(getStatus(), SIP_COMM_SUCCESS);
    EXPECT_EQ(status, 0U);
}

TEST_F(Controler, ReadsEveryAckAndStatusValue)
{
    for (const uint32_t value : {0U, 1U, 2U, 3U, 4U, 5U, 0xffffffffU}) {
        construct("ack:" + std::to_string(value));
        EXPECT_EQ(connect(), SIP_COMM_SUCCESS);
        EXPECT_EQ(getAck(), SIP_COMM_SUCCESS);
        EXPECT_EQ(ack, value);
        construct("status:" + std::to_string(value));
        EXPECT_EQ(getStatus(), SIP_COMM_SUCCESS);
        EXPECT_EQ(status, value);
    }
}

TEST_F(Controler, HasNoAckToReadAfterConstruct)
{
    construct("admit");
    expectCall([&] { return getAck(); }, SIP_COMM_FAILED, controlerError("no ack need read"));
    EXPECT_EQ(handle->connected, 1);
}

TEST_F(Controler, RefusesASecondRequestUntilTheFirstIsAcknowledged)
{
    construct("never-answer");
    EXPECT_EQ(connect(), SIP_COMM_SUCCESS);
    const std::string refused = controlerError("wait ack , not pemission");
    expectLog({refused, refused, refused}, [&] {
        EXPECT_EQ(connect(), SIP_COMM_FAILED);
        EXPECT_EQ(SIP_COMM_ControlerProfileDisconnect(handle, "Profile1"), SIP_COMM_FAILED);
        EXPECT_EQ(SIP_COMM_ControlerSetProfileName(handle, SIPD_APPID_SETUP, "Profile1"), SIP_COMM_FAILED);
    });
    daemon().send(encodeAck(SIPD_ACK_SUCCESS));
    EXPECT_EQ(getAck(), SIP_COMM_SUCCESS);
    EXPECT_EQ(ack, SIPD_ACK_SUCCESS);
    EXPECT_EQ(SIP_COMM_ControlerProfileDisconnect(handle, "Profile0"), SIP_COMM_SUCCESS);
    ASSERT_TRUE(daemon().waitForRequests(2));
    EXPECT_EQ(daemon().requests().size(), 2U) << "a refused request was sent";
}

TEST_F(Controler, CanBePolledForTheAck)
{
    construct("never-answer");
    EXPECT_EQ(connect(), SIP_COMM_SUCCESS);
    pollfd polled = {SIP_COMM_ControlerGetFd(handle), POLLIN, 0};
    ASSERT_TRUE(daemon().waitForRequests(1));
    EXPECT_EQ(poll(&polled, 1, 0), 0);
    daemon().send(encodeAck(SIPD_ACK_CONNECT_FAILED));
    EXPECT_EQ(poll(&polled, 1, -1), 1);
    EXPECT_EQ(getAck(), SIP_COMM_SUCCESS);
    EXPECT_EQ(ack, SIPD_ACK_CONNECT_FAILED);
    EXPECT_EQ(SIP_COMM_ControlerGetFd(handle), polled.fd);
}

TEST_F(Controler, WaitsForALateAck)
{
    construct("late:300");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(connect(), SIP_COMM_SUCCESS);
    EXPECT_EQ(getAck(), SIP_COMM_SUCCESS);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
}

TEST_F(Controler, GoesOnAfterItsCopyInAForkIsDestructed)
{
    construct("admit");
    const pid_t child = fork();
    if (child == 0)
        _exit(SIP_COMM_ControlerDestruct(&handle));
    int ended = -1;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(getStatus(), SIP_COMM_SUCCESS);
    EXPECT_EQ(daemon().closed(), 0);
}

TEST_F(Controler, ClosesWhenAQueryReadsAnAckAndStillWaitsForIt)
{
    construct("never-answer");
    EXPECT_EQ(connect(), SIP_COMM_SUCCESS);
    ASSERT_TRUE(daemon().waitForRequests(1));
    daemon().send(encodeAck(SIPD_ACK_SUCCESS));
    expectCall([&] { return getStatus(); }, SIP_COMM_FAILED, unexpected("7"), closing, queryNotAnswered);
    EXPECT_EQ(handle->connected, 0);
    EXPECT_EQ(handle->waitAck, 1);
    EXPECT_EQ(status, 77);
}

TEST_F(Controler, MakesAQueryWhileARequestWaitsForItsAck)
{
    construct("late:60000");
    EXPECT_EQ(connect(), SIP_COMM_SUCCESS);
    EXPECT_EQ(getStatus(), SIP_COMM_SUCCESS);
    EXPECT_EQ(handle->waitAck, 1);
}

TEST_F(Controler, ClosesOnAMessageThatIsNoAck)
{
    for (const char* type : {"2", "3", "6"}) {
        construct(std::string("wrong-type:") + type);
        EXPECT_EQ(connect(), SIP_COMM_SUCCESS);
        expectCall([&] { return getAck(); }, SIP_COMM_FAILED, unexpected(type), closing);
        EXPECT_EQ(handle->connected, 0);
        EXPECT_EQ(handle->waitAck, 0);
        EXPECT_EQ(ack, SIPD_ACK_FAILED);
        EXPECT_TRUE(daemon().waitForClosed(1));
    }
}

TEST_F(Controler, ClosesOnAMessageThatIsNoProfile)
{
    construct("wrong-type:6");
    char name[128] = "before";
    expectCall([&] { return getName(name, sizeof(name)); }, SIP_COMM_FAILED, unexpected("6"), closing,
               queryNotAnswered);
    EXPECT_EQ(std::string(name, sizeof(name)), std::string(128, '\0'));
}

TEST_F(Controler, ReadsAnAnswerOfAnyAnnouncedLength)
{
    for (const char* length : {"0", "1", "4294967295"}) {
        construct(std::string("wrong-length:") + length);
        EXPECT_EQ(getStatus(), SIP_COMM_SUCCESS);
        EXPECT_EQ(connect(), SIP_COMM_SUCCESS);
        EXPECT_EQ(getAck(), SIP_COMM_SUCCESS);
    }
}

TEST_F(Controler, FailsEveryCallAfterAFailure)
{
    construct("wrong-type:6");
    EXPECT_EQ(getStatus(), SIP_COMM_FAILED);
    char name[8] = "before!";
    expectCall([&] { return getStatus(); }, SIP_COMM_FAILED, writeMsgNotConnected, queryNotSent);
    expectCall([&] { return getName(name, sizeof(name)); }, SIP_COMM_FAILED, writeMsgNotConnected,
               queryNotSent);
    EXPECT_EQ(std::string(name, sizeof(name)), std::string(8, '\0'));
    expectCall([&] { return connect(); }, SIP_COMM_FAILED, writeMsgNotConnected);
    EXPECT_EQ(handle->waitAck, 1);
    EXPECT_EQ(SIP_COMM_ControlerGetFd(handle), -1);
    EXPECT_EQ(daemon().accepted(), 1) << "reconnected by itself";
    EXPECT_EQ(SIP_COMM_ControlerDestruct(&handle), SIP_COMM_SUCCESS);
}

TEST_F(Controler, LogsAnAnswerThatBreaksOff)
{
    construct("close-after:33"); // the ack, a header and 5 bytes of the body
    expectCall([&] { return getStatus(); }, SIP_COMM_CLOSED, receivedProfile, peerClosed,
               channelError("read profile messsage fail"), readProfile, closing, queryNotAnswered);
}

TEST_F(Controler, WaitsForAnAckAfterARequestThatCouldNotBeSent)
{
    construct("close-after:16");
    ASSERT_TRUE(daemon().waitForClosed(1));
    expectCall([&] { return connect(); }, SIP_COMM_IO_ERROR, brokenPipe, headNotSent, notSent);
    EXPECT_EQ(handle->connected, 0);
    EXPECT_EQ(handle->waitAck, 1);
    expectCall([&] { return connect(); }, SIP_COMM_FAILED, controlerError("wait ack , not pemission"));
    expectCall([&] { return getAck(); }, SIP_COMM_FAILED, controlerError("connect daemon first"));
    EXPECT_EQ(handle->waitAck, 1);
}

TEST_F(Controler, FailsAQueryThatCannotBeSent)
{
    construct("close-after:16");
    ASSERT_TRUE(daemon().waitForClosed(1));
    expectCall([&] { return getStatus(); }, SIP_COMM_IO_ERROR, brokenPipe, headNotSent, notSent,
               queryNotSent);
    EXPECT_EQ(handle->waitAck, 0);
}

TEST_F(Controler, StoresTheNameWithinTheBuffer)
{
    construct("admit");
    const std::string longName(127, 'n');
    ASSERT_EQ(SIP_COMM_ControlerSetProfileName(handle, SIPD_APPID_SETUP, longName.c_str()), SIP_COMM_SUCCESS);
    ASSERT_EQ(getAck(), SIP_COMM_SUCCESS);
    const auto nameIn = [&](int size) {
        std::string buffer(200, '#');
        EXPECT_EQ(getName(buffer.data(), size), SIP_COMM_SUCCESS);
        return buffer;
    };
    EXPECT_EQ(nameIn(0), std::string(200, '#'));
    EXPECT_EQ(nameIn(5), longName.substr(0, 5) + std::string(195, '#'));
    EXPECT_EQ(nameIn(127), longName + std::string(73, '#')) << "fills the buffer, without a terminator";
    EXPECT_EQ(nameIn(128), longName + std::string(1, '\0') + std::string(72, '#'));
    EXPECT_EQ(nameIn(200), longName + std::string(73, '\0'));
}

TEST_F(Controler, StoresAtMost127CharactersOfAName)
{
    construct("never-answer");
    _SIPD_MSG_PROFILE_S answer = {};
    std::memset(answer.name, 'x', sizeof(answer.name));
    daemon().send(encodeProfile(answer));
    char name[200];
    EXPECT_EQ(getName(name, sizeof(name)), SIP_COMM_SUCCESS);
    EXPECT_EQ(std::string(name), std::string(127, 'x'));
}

TEST(ControlerHandle, MayBeNullInDestruct)
{
    Handle* none = nullptr;
    EXPECT_EQ(SIP_COMM_ControlerDestruct(nullptr), SIP_COMM_SUCCESS);
    EXPECT_EQ(SIP_COMM_ControlerDestruct(&none), SIP_COMM_SUCCESS);
    none = new Handle{}; // without a channel
    EXPECT_EQ(SIP_COMM_ControlerDestruct(&none), SIP_COMM_SUCCESS);
    EXPECT_EQ(none, nullptr);
}

TEST(ControlerHandle, DisconnectsAndDestroysItsChannelInDestruct)
{
    struct Counter : TestChannel
    {
        Counter(int& disconnected, int& destroyed) : disconnections(disconnected), destructions(destroyed) {}
        ~Counter() override { ++destructions; }
        int disconnectDaemon() override
        {
            ++disconnections;
            return 7;
        }
        int& disconnections;
        int& destructions;
    };
    for (const uint8_t connected : {uint8_t{0}, uint8_t{1}}) {
        int disconnections = 0;
        int destructions = 0;
        auto* handle = new Handle{new Counter(disconnections, destructions), connected, 0};
        EXPECT_EQ(SIP_COMM_ControlerDestruct(&handle), connected * 7);
        EXPECT_EQ(disconnections, connected);
        EXPECT_EQ(destructions, 1);
    }
}

TEST(ControlerHandle, FailsAsItsClosedChannelDoes)
{
    TestChannel channel;
    Handle handle = {&channel, 1, 0};
    expectLog({channelInfo("sendProfileMsg", " connect dammon first"), notSent},
              [&] { EXPECT_EQ(SIP_COMM_ControlerProfileConnect(&handle, "p"), SIP_COMM_FAILED); });
    EXPECT_EQ(handle.connected, 0);
    EXPECT_EQ(handle.waitAck, 1);
}

TEST(ControlerHandle, LeavesTheBodyOfAnUnexpectedMessageUnread)
{
    ChannelPair<> pair;
    Handle handle = {&pair.channel, 1, 1};
    _SIPD_APP_ACK_E ack;
    pair.give(encodeMessage({6, 0, "body"}));
    EXPECT_EQ(SIP_COMM_ControlerGetAck(&handle, &ack), SIP_COMM_FAILED);
    // A socket that is closed with bytes unread resets its peer.
    char byte;
    EXPECT_EQ(recv(pair.daemonEnd, &byte, 1, 0), -1);
    EXPECT_EQ(errno, ECONNRESET);
}

TEST(ControlerHandle, ReportsFirstThatItWasNeverConnected)
{
    Handle closed = {};
    _SIPD_APP_ACK_E ack;
    expectLog({controlerError("connect daemon first")},
              [&] { EXPECT_EQ(SIP_COMM_ControlerGetAck(&closed, &ack), SIP_COMM_FAILED); });
}

TEST(ControlerHandle, HasItsBinaryLayout)
{
    static_assert(offsetof(Handle, channel) == 0);
    static_assert(offsetof(Handle, connected) == sizeof(void*));
    static_assert(offsetof(Handle, waitAck) == sizeof(void*) + 1);
    static_assert(sizeof(Handle::connected) == 1 && sizeof(Handle::waitAck) == 1);
}

TEST(ControlerAssertion, ReportsTheFirstOfTwoNullPointers)
{
    static Handle empty = {};
    static char buffer[8];
    static _SIPD_APP_ACK_E ack;
    static _SIPD_PROFILE_STATUS_E status;
    struct Case
    {
        const char* function;
        // Calls it with the pointer that it asserts first, and with the other one, or with null in their
        // place.
        std::function<void(bool first, bool second)> call;
    };
    const auto handleIf = [](bool given) { return given ? &empty : nullptr; };
    const auto nameIf = [](bool given) { return given ? "p" : nullptr; };
    const Case cases[] = {
        {"ProfileConnect",
         [=](bool name, bool handle) { SIP_COMM_ControlerProfileConnect(handleIf(handle), nameIf(name)); }},
        {"ProfileDisconnect",
         [=](bool name, bool handle) {
             SIP_COMM_ControlerProfileDisconnect(handleIf(handle), nameIf(name));
         }},
        {"SetProfileName",
         [=](bool name, bool handle) {
             SIP_COMM_ControlerSetProfileName(handleIf(handle), {}, nameIf(name));
         }},
        {"GetProfileStatus: status",
         [=](bool given, bool handle) {
             SIP_COMM_ControlerGetProfileStatus(handleIf(handle), nameIf(given || handle),
                                                given ? &status : nullptr);
         }},
        {"GetProfileStatus: handle",
         [=](bool handle, bool name) {
             SIP_COMM_ControlerGetProfileStatus(handleIf(handle), nameIf(name), &status);
         }},
        {"GetProfileName: buf",
         [=](bool buf, bool handle) {
             SIP_COMM_ControlerGetProfileName(handleIf(handle), {}, buf ? buffer : nullptr,
                                              buf || handle ? 8 : -1);
         }},
        {"GetProfileName: handle",
         [=](bool handle, bool size) {
             SIP_COMM_ControlerGetProfileName(handleIf(handle), {}, buffer, size ? 8 : -1);
         }},
        {"GetAck", [=](bool handle,
                       bool given) { SIP_COMM_ControlerGetAck(handleIf(handle), given ? &ack : nullptr); }},
    };
    const std::string file = "SIP_COMM_Controler.cpp";
    for (const Case& tested : cases) {
        SCOPED_TRACE(tested.function);
        const int first = assertionLine(file, [&] { tested.call(false, true); });
        EXPECT_EQ(assertionLine(file, [&] { tested.call(false, false); }), first);
        EXPECT_NE(assertionLine(file, [&] { tested.call(true, false); }), first);
    }
    const int construct = assertionLine(file, [] { SIP_COMM_ControlerConstruct(nullptr); });
    EXPECT_GT(construct, 0);
    EXPECT_NE(assertionLine(file, [] { SIP_COMM_ControlerGetFd(nullptr); }),
              assertionLine(file, [] { SIP_COMM_ControlerGetFd(&empty); }));
}
