#include "SIP_COMM_Controler.h"

#include "AssertionOf.h"
#include "ChannelPair.h"
#include "DaemonTest.h"
#include "Diagnostics.h"
#include "TestChannel.h"

#include <cerrno>
#include <cstring>
#include <gmock/gmock.h>
#include <memory>
#include <poll.h>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Handle = _SIP_COMM_PROFILE_CONTROL_S;

std::string ofControler(const std::string& message)
{
    return "{1} SIP_COMM_Controler.cpp\t" + message;
}

const std::string receivedAck = "{4} SIP_COMM_Channel.cpp, recvAckMsg()\trecieve ack message";
const std::string readAck = "{4} SIP_COMM_Controler.cpp\t read ack command";
const std::string receivedProfile = "{4} SIP_COMM_Channel.cpp, recvProfileMsg()\trecieve profile message";
const std::string readProfile = "{4} SIP_COMM_Controler.cpp\t read profile control command";
const std::string peerClosed = "{1} SIP_COMM_Channel.cpp\tsocket has been closed";
const std::string writeMsgNotConnected = "{4} SIP_COMM_Controler.cpp, WriteMsg()\tconnect daemon first";

class Controler : public DaemonTest
{
protected:
    ~Controler() override { SIP_COMM_ControlerDestruct(&handle); }

    void construct(std::string_view scenario)
    {
        play(scenario);
        ASSERT_EQ(SIP_COMM_ControlerConstruct(&handle), 0);
        ASSERT_NE(handle, nullptr);
    }

    // Construct does not succeed, and says so.
    void expectRefusal(std::string_view scenario, const std::vector<std::string>& expectedLog)
    {
        play(scenario);
        auto* refused = reinterpret_cast<Handle*>(this);
        EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerConstruct(&refused), 1) << scenario; }),
                    testing::ElementsAreArray(expectedLog));
        EXPECT_EQ(refused, nullptr);
        EXPECT_TRUE(daemon().waitForClosed(1));
    }

    _SIPD_MSG_PROFILE_S lastRequest()
    {
        const auto requests = daemon().requests();
        return requests.empty() ? _SIPD_MSG_PROFILE_S{} : requests.back();
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
        Handle* admitted = nullptr;
        EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerConstruct(&admitted), 0) << value; }),
                    ElementsAre(receivedAck, readAck));
        ASSERT_NE(admitted, nullptr);
        EXPECT_EQ(admitted->connected, 1);
        EXPECT_EQ(admitted->waitAck, 0);
        EXPECT_GT(SIP_COMM_ControlerGetFd(admitted), 0);
        EXPECT_EQ(SIP_COMM_ControlerDestruct(&admitted), 0);
        EXPECT_EQ(admitted, nullptr);
        EXPECT_TRUE(daemon().waitForClosed(1));
        EXPECT_EQ(daemon().received(), encodeHead(0, SIPD_MSG_REGISTER, 100));
    }
}

TEST_F(Controler, IsRefusedByAckOne)
{
    expectRefusal("refuse", {receivedAck, readAck});
    expectRefusal("registration-ack:1", {receivedAck, readAck});
}

TEST_F(Controler, SaysThatThereIsNoDaemon)
{
    auto* none = reinterpret_cast<Handle*>(this);
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerConstruct(&none), 1); }),
                ElementsAre("{1} SIP_COMM_Channel.cpp\tconnect fail path /tmp/sipd_us",
                            ofControler("Fail to connect daemon")));
    EXPECT_EQ(none, nullptr);
}

TEST_F(Controler, IsNotAdmittedByAnotherMessage)
{
    expectRefusal("registration-type:3",
                  {ofControler(" read unexpected message 3"), ofControler("close daemon connection")});
    expectRefusal("registration-type:6",
                  {ofControler(" read unexpected message 6"), ofControler("close daemon connection")});
    expectRefusal("registration-type:0",
                  {ofControler(" read unexpected message 0"), ofControler("close daemon connection")});
    expectRefusal("registration-type:4294967295",
                  {ofControler(" read unexpected message -1"), ofControler("close daemon connection")});
}

TEST_F(Controler, IsAdmittedByAnAckOfAnyAnnouncedLength)
{
    for (const char* scenario :
         {"registration-length:0", "registration-length:1", "registration-length:4294967295"}) {
        construct(scenario);
        SIP_COMM_ControlerDestruct(&handle);
    }
}

TEST_F(Controler, IsNotAdmittedWhenTheDaemonClosesAtAnyByteOfItsAnswer)
{
    for (int sent = 0; sent < 16; ++sent) {
        std::vector<std::string> log = {peerClosed, "{1} SIP_COMM_Channel.cpp\tread head fail"};
        if (sent >= 12)
            log = {receivedAck, peerClosed, "{1} SIP_COMM_Channel.cpp\tread ack messsage fail", readAck};
        log.push_back(ofControler("close daemon connection"));
        expectRefusal("close-after:" + std::to_string(sent), log);
    }
}

TEST_F(Controler, FailsAQueryWhenTheDaemonClosesAtAnyByteOfItsAnswer)
{
    for (int sent = 0; sent < 152; ++sent) {
        // 0 would end the connection together with the registration.
        construct(sent == 0 ? "reset" : "close-after:" + std::to_string(16 + sent));
        EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle, "Profile0", &status), sent == 0 ? 2 : 5) << sent;
        EXPECT_EQ(handle->connected, 0);
        EXPECT_EQ(SIP_COMM_ControlerGetFd(handle), -1);
        SIP_COMM_ControlerDestruct(&handle);
    }
    EXPECT_EQ(status, 77) << "set by a query that failed";
}

TEST_F(Controler, FailsToGetAnAckWhenTheDaemonClosesAtAnyByteOfIt)
{
    for (int sent = 1; sent < 16; ++sent) {
        construct("close-after:" + std::to_string(16 + sent));
        EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 0);
        EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 5) << sent;
        EXPECT_EQ(handle->connected, 0);
        EXPECT_EQ(handle->waitAck, 0);
        SIP_COMM_ControlerDestruct(&handle);
    }
}

TEST_F(Controler, UnderstandsAnswersSplitAtAnyByte)
{
    for (int byte = 1; byte < 16 + 152; ++byte) {
        construct("split-after:" + std::to_string(byte));
        EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle, "Profile0", &status), 0) << byte;
        EXPECT_EQ(status, 0U);
        SIP_COMM_ControlerDestruct(&handle);
    }
}

TEST_F(Controler, UnderstandsAnswersInSingleBytes)
{
    construct("single-bytes");
    EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 0);
    EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 0);
    EXPECT_EQ(ack, SIPD_ACK_SUCCESS);
    EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle, "Profile0", &status), 0);
    EXPECT_EQ(status, SIPD_PROFILE_CONNECTED);
}

TEST_F(Controler, FailsOnAReset)
{
    construct("reset");
    EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 0);
    ASSERT_TRUE(daemon().waitForClosed(1));
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 2); }),
                ElementsAre("{1} SIP_COMM_Channel.cpp\tfail when read or write socket 104",
                            "{1} SIP_COMM_Channel.cpp\tread head fail",
                            ofControler("close daemon connection")));
}

TEST_F(Controler, SendsEachRequestByteForByte)
{
    construct("admit");
    const std::string head = encodeHead(140, 3, 100);
    std::string expected = encodeHead(0, 1, 100);
    const auto expectSent = [&](char request, const std::string& applicationId, const std::string& name) {
        expected += head + std::string{request, 0, 0, 0} + applicationId + std::string(4, '\0') + name +
                    std::string(128 - name.size(), '\0');
        EXPECT_TRUE(daemon().waitForBytes(expected.size()));
        EXPECT_EQ(daemon().received(), expected);
    };
    const std::string noApplication(4, '\0');
    const std::string application{2, 1, 0, 0};
    const auto appId = static_cast<_SIPD_APPID_E>(0x102);
    char name[128];

    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 0); }),
                IsEmpty());
    EXPECT_EQ(handle->waitAck, 1);
    expectSent(0, noApplication, "Profile0");
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 0); }),
                ElementsAre(receivedAck, readAck));
    EXPECT_EQ(handle->waitAck, 0);

    EXPECT_EQ(SIP_COMM_ControlerProfileDisconnect(handle, "Profile1"), 0);
    expectSent(1, noApplication, "Profile1");
    EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 0);

    EXPECT_THAT(
        diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle, "Profile2", &status), 0); }),
        ElementsAre(receivedProfile, readProfile));
    expectSent(3, noApplication, "Profile2");

    EXPECT_EQ(SIP_COMM_ControlerSetProfileName(handle, appId, "Profile3"), 0);
    expectSent(4, application, "Profile3");
    EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 0);

    EXPECT_EQ(SIP_COMM_ControlerGetProfileName(handle, appId, name, sizeof(name)), 0);
    expectSent(5, application, "");
    EXPECT_STREQ(name, "Profile3");
}

TEST_F(Controler, SendsANameOf127CharactersWholeAndCutsALongerOne)
{
    construct("admit");
    for (const size_t length : {0U, 127U, 128U, 1000U}) {
        const std::string name(length, 'n');
        EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle, name.c_str(), &status), 0);
        const std::string sent(lastRequest().name, 128);
        EXPECT_EQ(sent, name.substr(0, 127) + std::string(128 - std::min<size_t>(length, 127), '\0'));
    }
}

TEST_F(Controler, ReadsEachAckValue)
{
    for (unsigned int value = 0; value <= 5; ++value) {
        construct("ack:" + std::to_string(value));
        EXPECT_EQ(SIP_COMM_ControlerProfileDisconnect(handle, "Profile0"), 0);
        EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 0);
        EXPECT_EQ(ack, value);
        SIP_COMM_ControlerDestruct(&handle);
    }
}

TEST_F(Controler, ReadsEachStatusValue)
{
    for (const uint32_t value : {0U, 1U, 2U, 3U, 0xffffffffU}) {
        construct("status:" + std::to_string(value));
        EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle, "Profile0", &status), 0);
        EXPECT_EQ(status, value);
        SIP_COMM_ControlerDestruct(&handle);
    }
}

TEST_F(Controler, HasNoAckToReadAfterConstruct)
{
    construct("admit");
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 1); }),
                ElementsAre(ofControler("no ack need read")));
    EXPECT_EQ(handle->connected, 1);
}

TEST_F(Controler, RefusesASecondRequestUntilTheFirstIsAcknowledged)
{
    construct("never-answer");
    EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 0);
    const std::string refused = ofControler("wait ack , not pemission");
    EXPECT_THAT(diagnosticsOf([&] {
                    EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile1"), 1);
                    EXPECT_EQ(SIP_COMM_ControlerProfileDisconnect(handle, "Profile1"), 1);
                    EXPECT_EQ(SIP_COMM_ControlerSetProfileName(handle, SIPD_APPID_SETUP, "Profile1"), 1);
                }),
                ElementsAre(refused, refused, refused));
    // The first request is not affected, and nothing else was sent.
    daemon().send(encodeAck(SIPD_ACK_SUCCESS));
    EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 0);
    EXPECT_EQ(ack, SIPD_ACK_SUCCESS);
    EXPECT_EQ(SIP_COMM_ControlerProfileDisconnect(handle, "Profile0"), 0);
    ASSERT_TRUE(daemon().waitForRequests(2));
    EXPECT_EQ(daemon().requests().size(), 2U);
}

TEST_F(Controler, CanBePolledForTheAck)
{
    construct("never-answer");
    EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 0);
    pollfd polled = {SIP_COMM_ControlerGetFd(handle), POLLIN, 0};
    ASSERT_TRUE(daemon().waitForRequests(1));
    EXPECT_EQ(poll(&polled, 1, 0), 0);
    daemon().send(encodeAck(SIPD_ACK_CONNECT_FAILED));
    EXPECT_EQ(poll(&polled, 1, 10000), 1);
    EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 0);
    EXPECT_EQ(ack, SIPD_ACK_CONNECT_FAILED);
}

TEST_F(Controler, WaitsForALateAck)
{
    construct("late:300");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 0);
    EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
}

TEST_F(Controler, ClosesWhenAQueryMeetsAnAckAndStillWaitsForIt)
{
    construct("never-answer");
    EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 0);
    ASSERT_TRUE(daemon().waitForRequests(1));
    daemon().send(encodeAck(SIPD_ACK_SUCCESS));
    EXPECT_THAT(
        diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle, "Profile0", &status), 1); }),
        ElementsAre(ofControler(" read unexpected message 7"), ofControler("close daemon connection"),
                    ofControler("fail write read profile status ")));
    EXPECT_EQ(handle->connected, 0);
    EXPECT_EQ(handle->waitAck, 1);
    EXPECT_EQ(status, 77);
}

TEST_F(Controler, DoesNotTestForAnOutstandingAckBeforeAQuery)
{
    construct("late:60000");
    EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 0);
    EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle, "Profile0", &status), 0);
    EXPECT_EQ(handle->waitAck, 1);
}

TEST_F(Controler, ClosesOnAMessageThatIsNoAck)
{
    for (const char* type : {"2", "3", "6"}) {
        construct(std::string("wrong-type:") + type);
        EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 0);
        EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 1); }),
                    ElementsAre(ofControler(std::string(" read unexpected message ") + type),
                                ofControler("close daemon connection")));
        EXPECT_EQ(handle->connected, 0);
        EXPECT_EQ(handle->waitAck, 0);
        EXPECT_EQ(ack, SIPD_ACK_FAILED);
        EXPECT_TRUE(daemon().waitForClosed(1));
        SIP_COMM_ControlerDestruct(&handle);
    }
}

TEST_F(Controler, ClosesOnAMessageThatIsNoProfile)
{
    construct("wrong-type:6");
    char name[128] = "before";
    EXPECT_THAT(diagnosticsOf([&] {
                    EXPECT_EQ(SIP_COMM_ControlerGetProfileName(handle, SIPD_APPID_SETUP, name, sizeof(name)),
                              1);
                }),
                ElementsAre(ofControler(" read unexpected message 6"), ofControler("close daemon connection"),
                            ofControler("fail write read profile status ")));
    EXPECT_EQ(std::string(name, sizeof(name)), std::string(128, '\0'));
}

TEST_F(Controler, ReadsAnAnswerWhateverLengthItAnnounces)
{
    for (const char* length : {"0", "1", "4294967295"}) {
        construct(std::string("wrong-length:") + length);
        EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle, "Profile0", &status), 0);
        EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 0);
        EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 0);
        SIP_COMM_ControlerDestruct(&handle);
    }
}

TEST_F(Controler, RefusesEverythingAfterAFailure)
{
    construct("wrong-type:6");
    EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle, "Profile0", &status), 1);
    char name[8] = "before!";
    EXPECT_THAT(diagnosticsOf([&] {
                    EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle, "Profile0", &status), 1);
                    EXPECT_EQ(SIP_COMM_ControlerGetProfileName(handle, SIPD_APPID_SETUP, name, sizeof(name)),
                              1);
                }),
                ElementsAre(writeMsgNotConnected, ofControler("fail write get profile status command"),
                            writeMsgNotConnected, ofControler("fail write get profile status command")));
    EXPECT_EQ(std::string(name, sizeof(name)), std::string(8, '\0'));
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 1); }),
                ElementsAre(writeMsgNotConnected));
    EXPECT_EQ(handle->waitAck, 1);
    EXPECT_EQ(SIP_COMM_ControlerGetFd(handle), -1);
    EXPECT_EQ(daemon().accepted(), 1) << "reconnected by itself";
    EXPECT_EQ(SIP_COMM_ControlerDestruct(&handle), 0);
}

TEST_F(Controler, TellsOfAnAnswerThatBreaksOff)
{
    construct("close-after:33"); // the ack, a header and 5 bytes of the body
    EXPECT_THAT(
        diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle, "Profile0", &status), 5); }),
        ElementsAre(receivedProfile, peerClosed, "{1} SIP_COMM_Channel.cpp\tread profile messsage fail",
                    readProfile, ofControler("close daemon connection"),
                    ofControler("fail write read profile status ")));
}

TEST_F(Controler, WaitsForAnAckAfterARequestThatCouldNotBeSent)
{
    construct("close-after:16");
    ASSERT_TRUE(daemon().waitForClosed(1));
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 2); }),
                ElementsAre("{1} SIP_COMM_Channel.cpp\tfail when read or write socket 32",
                            "{4} SIP_COMM_Channel.cpp, sendProfileMsg()\t fail send head message",
                            ofControler("fail send to daemon")));
    EXPECT_EQ(handle->connected, 0);
    EXPECT_EQ(handle->waitAck, 1);
    EXPECT_THAT(diagnosticsOf([&] {
                    EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 1);
                    EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 1);
                }),
                ElementsAre(ofControler("wait ack , not pemission"), ofControler("connect daemon first")));
    EXPECT_EQ(handle->waitAck, 1);
}

TEST_F(Controler, FailsAQueryThatCannotBeSent)
{
    construct("close-after:16");
    ASSERT_TRUE(daemon().waitForClosed(1));
    EXPECT_THAT(
        diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle, "Profile0", &status), 2); }),
        ElementsAre("{1} SIP_COMM_Channel.cpp\tfail when read or write socket 32",
                    "{4} SIP_COMM_Channel.cpp, sendProfileMsg()\t fail send head message",
                    ofControler("fail send to daemon"),
                    ofControler("fail write get profile status command")));
    EXPECT_EQ(handle->waitAck, 0);
}

TEST_F(Controler, GivesTheNameWithinTheBuffer)
{
    construct("admit");
    const std::string longName(127, 'n');
    ASSERT_EQ(SIP_COMM_ControlerSetProfileName(handle, SIPD_APPID_SETUP, longName.c_str()), 0);
    ASSERT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 0);
    const auto nameIn = [&](int size) {
        std::string buffer(200, '#');
        EXPECT_EQ(SIP_COMM_ControlerGetProfileName(handle, SIPD_APPID_SETUP, buffer.data(), size), 0);
        return buffer;
    };
    EXPECT_EQ(nameIn(0), std::string(200, '#'));
    EXPECT_EQ(nameIn(5), longName.substr(0, 5) + std::string(195, '#'));
    EXPECT_EQ(nameIn(127), longName + std::string(73, '#')) << "fills the buffer, without a terminator";
    EXPECT_EQ(nameIn(128), longName + std::string(1, '\0') + std::string(72, '#'));
    EXPECT_EQ(nameIn(200), longName + std::string(73, '\0'));
}

TEST_F(Controler, TakesAtMost127CharactersOfANameWithoutATerminator)
{
    construct("never-answer");
    _SIPD_MSG_PROFILE_S answer = {};
    std::memset(answer.name, 'x', sizeof(answer.name));
    daemon().send(encodeProfile(answer));
    char name[200];
    EXPECT_EQ(SIP_COMM_ControlerGetProfileName(handle, SIPD_APPID_SETUP, name, sizeof(name)), 0);
    EXPECT_EQ(std::string(name), std::string(127, 'x'));
}

TEST_F(Controler, SurvivesADaemonThatIsStopped)
{
    construct("admit");
    stopDaemon();
    EXPECT_NE(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 0);
    EXPECT_EQ(SIP_COMM_ControlerDestruct(&handle), 0);
}

TEST(ControlerHandle, CanBeDestructedWhenThereIsNone)
{
    Handle* none = nullptr;
    EXPECT_EQ(SIP_COMM_ControlerDestruct(nullptr), 0);
    EXPECT_EQ(SIP_COMM_ControlerDestruct(&none), 0);
}

TEST(ControlerHandle, IsFreedWithoutAChannelToo)
{
    auto* handle = new Handle{};
    EXPECT_EQ(SIP_COMM_ControlerDestruct(&handle), 0);
    EXPECT_EQ(handle, nullptr);
}

TEST(ControlerHandle, DisconnectsOnlyWhatIsConnectedAndDestroysItsChannel)
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

TEST(ControlerHandle, ThatLostItsChannelUnnoticedFailsAsTheChannelDoes)
{
    TestChannel channel;
    Handle handle = {&channel, 1, 0};
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerProfileConnect(&handle, "p"), 1); }),
                ElementsAre("{4} SIP_COMM_Channel.cpp, sendProfileMsg()\t connect dammon first",
                            ofControler("fail send to daemon")));
    EXPECT_EQ(handle.connected, 0);
    EXPECT_EQ(handle.waitAck, 1);
}

TEST(ControlerHandle, LeavesTheBodyOfAnUnexpectedMessageUnread)
{
    ChannelPair pair;
    Handle handle = {&pair.channel, 1, 1};
    _SIPD_APP_ACK_E ack;
    pair.give(encodeMessage({6, 0, "body"}));
    EXPECT_EQ(SIP_COMM_ControlerGetAck(&handle, &ack), 1);
    // A socket that is closed with bytes unread resets its peer.
    char byte;
    EXPECT_EQ(recv(pair.daemonEnd, &byte, 1, 0), -1);
    EXPECT_EQ(errno, ECONNRESET);
}

TEST(ControlerHandle, HasItsFieldsInTheirOrder)
{
    static_assert(offsetof(Handle, channel) == 0);
    static_assert(offsetof(Handle, connected) == sizeof(void*));
    static_assert(offsetof(Handle, waitAck) == sizeof(void*) + 1);
    static_assert(sizeof(Handle::connected) == 1 && sizeof(Handle::waitAck) == 1);
    SUCCEED();
}

TEST(ControlerAssertion, ReportsTheFirstOfTwo)
{
    const std::string name = "ORMU_ASSERT(profileName != nullptr);";
    const std::string handle = "ORMU_ASSERT(handle != nullptr);";
    char buffer[8];
    _SIPD_APP_ACK_E ack;
    _SIPD_PROFILE_STATUS_E status;
    EXPECT_EQ(assertionOf([] { SIP_COMM_ControlerConstruct(nullptr); }), handle);
    EXPECT_EQ(assertionOf([] { SIP_COMM_ControlerProfileConnect(nullptr, nullptr); }), name);
    EXPECT_EQ(assertionOf([] { SIP_COMM_ControlerProfileConnect(nullptr, "p"); }), handle);
    EXPECT_EQ(assertionOf([] { SIP_COMM_ControlerProfileDisconnect(nullptr, nullptr); }), name);
    EXPECT_EQ(assertionOf([] { SIP_COMM_ControlerProfileDisconnect(nullptr, "p"); }), handle);
    EXPECT_EQ(assertionOf([] { SIP_COMM_ControlerSetProfileName(nullptr, SIPD_APPID_SETUP, nullptr); }),
              name);
    EXPECT_EQ(assertionOf([] { SIP_COMM_ControlerSetProfileName(nullptr, SIPD_APPID_SETUP, "p"); }), handle);
    EXPECT_EQ(assertionOf([] { SIP_COMM_ControlerGetProfileStatus(nullptr, nullptr, nullptr); }),
              "ORMU_ASSERT(status != nullptr);");
    EXPECT_EQ(assertionOf([&] { SIP_COMM_ControlerGetProfileStatus(nullptr, nullptr, &status); }), handle);
    EXPECT_EQ(assertionOf([] { SIP_COMM_ControlerGetProfileName(nullptr, SIPD_APPID_SETUP, nullptr, 8); }),
              "ORMU_ASSERT(buf != nullptr);");
    EXPECT_EQ(assertionOf([&] { SIP_COMM_ControlerGetProfileName(nullptr, SIPD_APPID_SETUP, buffer, 8); }),
              handle);
    EXPECT_EQ(assertionOf([] { SIP_COMM_ControlerGetFd(nullptr); }), handle);
    EXPECT_EQ(assertionOf([] { SIP_COMM_ControlerGetAck(nullptr, nullptr); }), handle);
    EXPECT_EQ(assertionOf([&] { SIP_COMM_ControlerGetAck(nullptr, &ack); }), handle);
}

TEST(ControlerAssertion, RequiresWhatIsInTheHandleAndTheRest)
{
    Handle empty = {};
    char buffer[8];
    _SIPD_PROFILE_STATUS_E status;
    EXPECT_EQ(assertionOf([&] { SIP_COMM_ControlerGetFd(&empty); }),
              "ORMU_ASSERT(handle->channel != nullptr);");
    EXPECT_EQ(assertionOf([&] { SIP_COMM_ControlerGetAck(&empty, nullptr); }),
              "ORMU_ASSERT(ack != nullptr);");
    EXPECT_EQ(assertionOf([&] { SIP_COMM_ControlerGetProfileStatus(&empty, nullptr, &status); }),
              "ORMU_ASSERT(profileName != nullptr);");
    EXPECT_EQ(assertionOf([&] { SIP_COMM_ControlerGetProfileName(&empty, SIPD_APPID_SETUP, buffer, -1); }),
              "ORMU_ASSERT(size >= 0);");
}

TEST(ControlerHandle, ThatWasNeverConnectedRefusesAnAckFirstForThatReason)
{
    Handle closed = {};
    _SIPD_APP_ACK_E ack;
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(SIP_COMM_ControlerGetAck(&closed, &ack), 1); }),
                ElementsAre(ofControler("connect daemon first")));
}
