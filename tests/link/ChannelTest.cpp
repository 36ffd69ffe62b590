#include "AssertionOf.h"
#include "ChannelPair.h"
#include "Diagnostics.h"
#include "SipdWire.h"

#include <cerrno>
#include <cstring>
#include <gmock/gmock.h>
#include <thread>
#include <type_traits>
#include <vector>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string statusFields(264, 's');

_SIPD_MSG_PROFILE_S profileNamed(const std::string& name)
{
    _SIPD_MSG_PROFILE_S profile = {};
    name.copy(profile.name, SIPD_PROFILE_NAME_MAX);
    return profile;
}

// A class of another client that takes over the closing.
class ClosingWatcher : public TestChannel
{
public:
    using TestChannel::TestChannel;
    int disconnectDaemon() override
    {
        ++closings;
        return SIP_COMM_Channel::disconnectDaemon();
    }
    int closings = 0;
};

struct WatchedPair
{
    WatchedPair()
    {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        channel.setFd(ends[0]);
        daemonEnd = ends[1];
    }
    ~WatchedPair() { close(daemonEnd); }
    ClosingWatcher channel;
    int daemonEnd;
};

// Receives one message of each type, as a client does.
int receiveMessage(SIP_COMM_Channel& channel)
{
    _SIPD_MSG_TYPE_E type;
    const int result = channel.recvMsgType(&type);
    if (result != 0)
        return result;
    _SIPD_APP_ACK_E ack;
    _SIPD_MSG_PROFILE_S profile;
    _SIPD_MSG_STATUS_S status;
    char sdp[SIPD_SDP_MAX];
    switch (type) {
    case SIPD_MSG_ACK:
        return channel.recvAckMsg(&ack);
    case SIPD_MSG_PROFILE:
        return channel.recvProfileMsg(&profile);
    case SIPD_MSG_STATUS:
        return channel.recvStatusMsg(&status, sdp, nullptr);
    default:
        return -1;
    }
}

const std::vector<std::string> everyMessage = {
    encodeAck(SIPD_ACK_INCORRECT_PROFILE),
    encodeProfile(profileNamed("Profile0")),
    encodeStatus(statusFields, ""),
    encodeStatus(statusFields, "v=0"),
};

// The place of a virtual operation in the class's table, under the common C++ ABI.
template <class Operation>
size_t slotOf(Operation operation)
{
    std::ptrdiff_t parts[2];
    static_assert(sizeof(operation) == sizeof(parts));
    std::memcpy(parts, &operation, sizeof(parts));
    return static_cast<size_t>(parts[0] - 1) / sizeof(void*);
}

} // namespace

TEST(Channel, IsClosedWhenItIsMade)
{
    SIP_COMM_Channel channel(SIPD_APPID_SETUP);
    EXPECT_FALSE(channel.isConnected());
    EXPECT_EQ(channel.getFd(), -1);
    const TestChannel inside(-1, static_cast<_SIPD_APPID_E>(7));
    EXPECT_EQ(inside.applicationId(), 7);
    EXPECT_EQ(inside.pendingMessageType(), SIPD_MSG_NONE);
    EXPECT_EQ(inside.pendingBodyLength(), 0U);
}

TEST(Channel, HasItsVirtualOperationsInTheirOrder)
{
#if defined(__x86_64__)
    // The destructor, which comes first, has two slots.
    EXPECT_EQ(slotOf(&SIP_COMM_Channel::connectDaemon), 2U);
    EXPECT_EQ(slotOf(&SIP_COMM_Channel::disconnectDaemon), 3U);
    EXPECT_EQ(slotOf(&SIP_COMM_Channel::getFd), 4U);
#endif
    static_assert(std::has_virtual_destructor_v<SIP_COMM_Channel>);
    EXPECT_EQ(sizeof(SIP_COMM_Channel), sizeof(void*) + 16);
}

TEST(Channel, HasItsFieldsInTheirOrder)
{
    TestChannel channel(0x11, static_cast<_SIPD_APPID_E>(0x22));
    channel.setPending(static_cast<_SIPD_MSG_TYPE_E>(0x33), 0x44);
    uint32_t fields[4];
    std::memcpy(fields, reinterpret_cast<const char*>(&channel) + sizeof(void*), sizeof fields);
    EXPECT_THAT(fields, ElementsAre(0x11, 0x22, 0x33, 0x44));
    channel.setFd(-1);
}

TEST(Channel, ReadsAPendingBodyEvenWhenClosed)
{
    TestChannel channel;
    channel.setPending(SIPD_MSG_ACK, 4);
    _SIPD_APP_ACK_E ack = SIPD_ACK_SUCCESS;
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(channel.recvAckMsg(&ack), 2); }),
                Contains("{1} SIP_COMM_Channel.cpp\tbad fd -1"));
    EXPECT_EQ(channel.pendingMessageType(), SIPD_MSG_NONE);
}

TEST(Channel, SendsOnAnyDescriptorButMinusOne)
{
    TestChannel channel(-2);
    _SIPD_MSG_TYPE_E type;
    EXPECT_FALSE(channel.isConnected());
    EXPECT_EQ(channel.recvMsgType(&type), 1);
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(channel.sendControlMsg(SIPD_MSG_REGISTER), 2); }),
                Contains("{1} SIP_COMM_Channel.cpp\tbad fd -2"));
}

TEST(Channel, HasNothingPendingAfterABodyThatCouldNotBeRead)
{
    TestChannel channel;
    channel.setPending(SIPD_MSG_PROFILE, sizeof(_SIPD_MSG_PROFILE_S));
    _SIPD_MSG_PROFILE_S profile;
    EXPECT_EQ(channel.recvProfileMsg(&profile), 2);
    EXPECT_EQ(channel.recvProfileMsg(&profile), 1);
}

TEST(Channel, HasNothingPendingAfterAStatusThatCouldNotBeRead)
{
    TestChannel channel;
    channel.setPending(SIPD_MSG_STATUS, sizeof(_SIPD_MSG_STATUS_S));
    _SIPD_MSG_STATUS_S status;
    EXPECT_EQ(channel.recvStatusMsg(&status, nullptr, nullptr), 2);
    EXPECT_EQ(channel.pendingMessageType(), SIPD_MSG_NONE);
}

TEST(Channel, DisconnectsAsOftenAsOneLikes)
{
    ChannelPair pair;
    EXPECT_TRUE(pair.channel.isConnected());
    EXPECT_EQ(pair.channel.disconnectDaemon(), 0);
    EXPECT_EQ(pair.channel.getFd(), -1);
    EXPECT_EQ(pair.channel.disconnectDaemon(), 0);
}

TEST(Channel, ClosesItsSocketWhenItIsDestroyed)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    {
        const TestChannel channel(ends[0]);
    }
    char byte;
    EXPECT_EQ(read(ends[1], &byte, 1), 0);
    close(ends[1]);
}

TEST(Channel, RefusesToReceiveWhenClosed)
{
    SIP_COMM_Channel channel(SIPD_APPID_SETUP);
    _SIPD_MSG_TYPE_E type = SIPD_MSG_ACK;
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(channel.recvMsgType(&type), 1); }),
                ElementsAre("{4} SIP_COMM_Channel.cpp, recvMsgType()\t connect dammon first"));
    EXPECT_EQ(type, SIPD_MSG_NONE);
}

TEST(Channel, RefusesToSendWhenClosed)
{
    SIP_COMM_Channel channel(SIPD_APPID_SETUP);
    const auto first = [](const std::string& function) {
        return "{4} SIP_COMM_Channel.cpp, " + function + "()\t connect dammon first";
    };
    EXPECT_THAT(diagnosticsOf([&] {
                    const _SIPD_MSG_PROFILE_S profile = {};
                    EXPECT_EQ(channel.sendProfileMsg(&profile), 1);
                    EXPECT_EQ(channel.sendControlMsg(SIPD_MSG_REGISTER), 1);
                    EXPECT_EQ(channel.sendCommandMsg({}, 0, nullptr, nullptr, 0), 1);
                }),
                ElementsAre(first("sendProfileMsg"), first("sendControlMsg"), first("sendCommandMsg")));
}

TEST(Channel, TestsForAConnectionBeforeItRequiresAProfile)
{
    TestChannel channel;
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(channel.sendProfileMsg(nullptr), 1); }),
                ElementsAre("{4} SIP_COMM_Channel.cpp, sendProfileMsg()\t connect dammon first"));
}

TEST(Channel, TakesDescriptorZeroForClosedWhenReceivingAndForOpenWhenSending)
{
    const int savedStdin = dup(STDIN_FILENO);
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
    {
        TestChannel channel(0);
        EXPECT_FALSE(channel.isConnected());
        _SIPD_MSG_TYPE_E type;
        EXPECT_EQ(channel.recvMsgType(&type), 1);
        EXPECT_EQ(channel.sendControlMsg(SIPD_MSG_REGISTER), 0);
        char head[13];
        EXPECT_EQ(read(ends[1], head, sizeof(head)), 12);
        EXPECT_EQ(channel.disconnectDaemon(), 0);
        EXPECT_EQ(channel.getFd(), 0);
    }
    EXPECT_EQ(write(ends[1], "x", 1), 1) << "descriptor 0 was closed";
    dup2(savedStdin, STDIN_FILENO);
    close(savedStdin);
    close(ends[1]);
}

TEST(Channel, ReceivesAnAckInTwoCalls)
{
    ChannelPair pair;
    pair.give(encodeAck(SIPD_ACK_CONNECT_FAILED));
    _SIPD_MSG_TYPE_E type;
    _SIPD_APP_ACK_E ack = SIPD_ACK_SUCCESS;
    EXPECT_THAT(diagnosticsOf([&] {
                    EXPECT_EQ(pair.channel.recvMsgType(&type), 0);
                    EXPECT_EQ(type, SIPD_MSG_ACK);
                    EXPECT_EQ(pair.channel.pendingMessageType(), SIPD_MSG_ACK);
                    EXPECT_EQ(pair.channel.pendingBodyLength(), 4U);
                    EXPECT_EQ(pair.channel.recvAckMsg(&ack), 0);
                }),
                ElementsAre("{4} SIP_COMM_Channel.cpp, recvAckMsg()\trecieve ack message"));
    EXPECT_EQ(ack, SIPD_ACK_CONNECT_FAILED);
    EXPECT_EQ(pair.channel.pendingMessageType(), SIPD_MSG_NONE);
}

TEST(Channel, ReceivesAProfile)
{
    ChannelPair pair;
    _SIPD_MSG_PROFILE_S sent = profileNamed(std::string(127, 'n'));
    sent.status = SIPD_PROFILE_CONNECTED;
    pair.give(encodeProfile(sent));
    _SIPD_MSG_TYPE_E type;
    _SIPD_MSG_PROFILE_S received;
    EXPECT_THAT(diagnosticsOf([&] {
                    EXPECT_EQ(pair.channel.recvMsgType(&type), 0);
                    EXPECT_EQ(pair.channel.recvProfileMsg(&received), 0);
                }),
                ElementsAre("{4} SIP_COMM_Channel.cpp, recvProfileMsg()\trecieve profile message"));
    EXPECT_EQ(std::memcmp(&sent, &received, sizeof(sent)), 0);
}

TEST(Channel, ReceivesAStatusWithItsSdp)
{
    ChannelPair pair;
    pair.give(encodeStatus(statusFields, "v=0\r\n"));
    _SIPD_MSG_TYPE_E type;
    _SIPD_MSG_STATUS_S status;
    char sdp[SIPD_SDP_MAX];
    unsigned int sdpLen = 99;
    EXPECT_THAT(diagnosticsOf([&] {
                    EXPECT_EQ(pair.channel.recvMsgType(&type), 0);
                    EXPECT_EQ(pair.channel.pendingBodyLength(), 271U);
                    EXPECT_EQ(pair.channel.recvStatusMsg(&status, sdp, &sdpLen), 0);
                }),
                ElementsAre("{4} SIP_COMM_Channel.cpp, recvStatusMsg()\trecieve status message"));
    EXPECT_EQ(std::memcmp(status.fields, statusFields.data(), 264), 0);
    EXPECT_EQ(std::string(sdp, sdpLen), "v=0\r\n");
}

TEST(Channel, ReceivesAStatusWithoutSdp)
{
    ChannelPair pair;
    const std::string message = encodeStatus(statusFields, "");
    ASSERT_EQ(message.size(), 12U + 266U);
    pair.give(message);
    _SIPD_MSG_TYPE_E type;
    _SIPD_MSG_STATUS_S status;
    char sdp = 'k';
    unsigned int sdpLen = 99;
    EXPECT_EQ(pair.channel.recvMsgType(&type), 0);
    EXPECT_EQ(pair.channel.recvStatusMsg(&status, &sdp, &sdpLen), 0);
    EXPECT_EQ(sdpLen, 0U);
    EXPECT_EQ(sdp, 'k');
}

TEST(Channel, SaysNothingOfAnSdpThatIsNotThere)
{
    ChannelPair pair;
    pair.give(encodeStatus(statusFields, ""));
    _SIPD_MSG_TYPE_E type;
    _SIPD_MSG_STATUS_S status;
    ASSERT_EQ(pair.channel.recvMsgType(&type), 0);
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(pair.channel.recvStatusMsg(&status, nullptr, nullptr), 0); }),
                ElementsAre("{4} SIP_COMM_Channel.cpp, recvStatusMsg()\trecieve status message"));
}

TEST(Channel, TakesTheSdpLengthFromTheStatusWhateverLengthWasAnnounced)
{
    const std::string body = encodeStatus(statusFields, "v=0").substr(encodeHead(0, 0, 0).size());
    for (const uint32_t announced : {0U, 1U, 0xffffffffU}) {
        ChannelPair pair;
        pair.give(encodeHead(announced, SIPD_MSG_STATUS, 0) + body + encodeAck(0));
        EXPECT_EQ(receiveMessage(pair.channel), 0);
        EXPECT_EQ(receiveMessage(pair.channel), 0);
    }
}

TEST(Channel, ThrowsAwayAnSdpThatNobodyWants)
{
    ChannelPair pair;
    pair.give(encodeStatus(statusFields, "v=0") + encodeAck(0));
    _SIPD_MSG_TYPE_E type;
    _SIPD_MSG_STATUS_S status;
    unsigned int sdpLen = 0;
    EXPECT_THAT(diagnosticsOf([&] {
                    EXPECT_EQ(pair.channel.recvMsgType(&type), 0);
                    EXPECT_EQ(pair.channel.recvStatusMsg(&status, nullptr, &sdpLen), 0);
                }),
                ElementsAre("{4} SIP_COMM_Channel.cpp, recvStatusMsg()\trecieve status message",
                            "{4} SIP_COMM_Channel.cpp\thave sdp body , but you do not need it"));
    EXPECT_EQ(sdpLen, 3U);
    EXPECT_EQ(receiveMessage(pair.channel), 0);
}

TEST(Channel, TakesAnSdpOf1024Bytes)
{
    ChannelPair pair;
    pair.give(encodeStatus(statusFields, std::string(1024, 'v')));
    _SIPD_MSG_TYPE_E type;
    _SIPD_MSG_STATUS_S status;
    char sdp[SIPD_SDP_MAX];
    unsigned int sdpLen = 0;
    EXPECT_EQ(pair.channel.recvMsgType(&type), 0);
    EXPECT_EQ(pair.channel.recvStatusMsg(&status, sdp, &sdpLen), 0);
    EXPECT_EQ(std::string(sdp, sdpLen), std::string(1024, 'v'));
}

TEST(Channel, ClosesOnAnSdpOf1025Bytes)
{
    WatchedPair pair;
    const std::string message = encodeStatus(statusFields, std::string(1025, 'v'));
    ASSERT_EQ(send(pair.daemonEnd, message.data(), message.size(), 0), static_cast<ssize_t>(message.size()));
    _SIPD_MSG_TYPE_E type;
    _SIPD_MSG_STATUS_S status;
    unsigned int sdpLen = 99;
    EXPECT_THAT(diagnosticsOf([&] {
                    EXPECT_EQ(pair.channel.recvMsgType(&type), 0);
                    EXPECT_EQ(pair.channel.recvStatusMsg(&status, nullptr, &sdpLen), 1);
                }),
                ElementsAre("{4} SIP_COMM_Channel.cpp, recvStatusMsg()\trecieve status message",
                            "{1} SIP_COMM_Channel.cpp\tsdp length wrong in status message"));
    EXPECT_EQ(sdpLen, 99U);
    EXPECT_FALSE(pair.channel.isConnected());
    EXPECT_EQ(pair.channel.closings, 1);
}

TEST(Channel, LeavesTheSdpLengthAloneWhenTheSdpDoesNotCome)
{
    for (const bool wanted : {true, false}) {
        ChannelPair pair;
        std::string message = encodeStatus(statusFields, "v=0");
        message.pop_back();
        pair.give(message);
        pair.closeDaemonEnd();
        _SIPD_MSG_TYPE_E type;
        _SIPD_MSG_STATUS_S status;
        char sdp[SIPD_SDP_MAX];
        unsigned int sdpLen = 99;
        const auto log = diagnosticsOf([&] {
            EXPECT_EQ(pair.channel.recvMsgType(&type), 0);
            EXPECT_EQ(pair.channel.recvStatusMsg(&status, wanted ? sdp : nullptr, &sdpLen), 5);
        });
        EXPECT_EQ(sdpLen, 99U);
        EXPECT_FALSE(pair.channel.isConnected());
        ASSERT_GE(log.size(), 2U);
        EXPECT_EQ(log[log.size() - 2], "{1} SIP_COMM_Channel.cpp\tsocket has been closed");
        EXPECT_EQ(log.back(), "{1} SIP_COMM_Channel.cpp\tread sdp body fail");
    }
}

TEST(Channel, TakesNothingFromHalfAHeader)
{
    ChannelPair pair;
    pair.give(encodeAck(0).substr(0, 11));
    pair.closeDaemonEnd();
    _SIPD_MSG_TYPE_E type = SIPD_MSG_ACK;
    EXPECT_EQ(pair.channel.recvMsgType(&type), 5);
    EXPECT_EQ(type, SIPD_MSG_NONE);
    EXPECT_EQ(pair.channel.pendingMessageType(), SIPD_MSG_NONE);
}

TEST(Channel, LeavesAMessageOfAnotherTypePending)
{
    ChannelPair pair;
    pair.give(encodeAck(3));
    _SIPD_MSG_TYPE_E type;
    _SIPD_MSG_PROFILE_S profile;
    _SIPD_MSG_STATUS_S status;
    _SIPD_APP_ACK_E ack;
    ASSERT_EQ(pair.channel.recvMsgType(&type), 0);
    EXPECT_THAT(diagnosticsOf([&] {
                    EXPECT_EQ(pair.channel.recvProfileMsg(&profile), 1);
                    EXPECT_EQ(pair.channel.recvStatusMsg(&status, nullptr, nullptr), 1);
                }),
                ElementsAre("{4} SIP_COMM_Channel.cpp, recvProfileMsg()\trecieve profile message",
                            "{1} SIP_COMM_Channel.cpp\tis not a profile message",
                            "{1} SIP_COMM_Channel.cpp\tis not a status message"));
    EXPECT_EQ(pair.channel.recvAckMsg(&ack), 0);
    EXPECT_EQ(ack, SIPD_ACK_INCORRECT_PROFILE);
}

TEST(Channel, HasNoAckPendingBeforeAHeader)
{
    ChannelPair pair;
    _SIPD_APP_ACK_E ack;
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(pair.channel.recvAckMsg(&ack), 1); }),
                ElementsAre("{4} SIP_COMM_Channel.cpp, recvAckMsg()\trecieve ack message",
                            "{1} SIP_COMM_Channel.cpp\tis not a ack message"));
    EXPECT_TRUE(pair.channel.isConnected());
}

TEST(Channel, DiscardsAnUnreadBodyBeforeTheNextHeader)
{
    ChannelPair pair;
    pair.give(encodeProfile(profileNamed("Profile0")) + encodeAck(2));
    _SIPD_MSG_TYPE_E type;
    _SIPD_APP_ACK_E ack;
    EXPECT_EQ(pair.channel.recvMsgType(&type), 0);
    EXPECT_EQ(type, SIPD_MSG_PROFILE);
    EXPECT_THAT(
        diagnosticsOf([&] { EXPECT_EQ(pair.channel.recvMsgType(&type), 0); }),
        ElementsAre(
            "{4} SIP_COMM_Channel.cpp, recvMsgType()\tthe last message has not been deal with , clear it"));
    EXPECT_EQ(type, SIPD_MSG_ACK);
    EXPECT_EQ(pair.channel.recvAckMsg(&ack), 0);
    EXPECT_EQ(ack, SIPD_ACK_SERVICE_UNAVAILABLE);
}

TEST(Channel, DiscardsTheUnreadBodyOfAnUnknownMessage)
{
    for (const uint32_t unknown : {2U, 6U, 8U, 0xffffffffU}) {
        ChannelPair pair;
        pair.give(encodeMessage({unknown, 9, "body"}) + encodeAck(0));
        _SIPD_MSG_TYPE_E type;
        EXPECT_EQ(pair.channel.recvMsgType(&type), 0);
        EXPECT_EQ(static_cast<uint32_t>(type), unknown);
        EXPECT_EQ(receiveMessage(pair.channel), 0);
    }
}

TEST(Channel, TakesAHeadOfTypeNoneForNoMessage)
{
    ChannelPair pair;
    pair.give(encodeHead(4, SIPD_MSG_NONE, 0) + encodeAck(0));
    _SIPD_MSG_TYPE_E type;
    EXPECT_THAT(diagnosticsOf([&] {
                    EXPECT_EQ(pair.channel.recvMsgType(&type), 0);
                    EXPECT_EQ(pair.channel.recvMsgType(&type), 0);
                }),
                IsEmpty());
}

TEST(Channel, ReportsABodyThatCannotBeDiscarded)
{
    ChannelPair pair;
    pair.give(encodeHead(10, SIPD_MSG_ACK, 0) + "four");
    pair.closeDaemonEnd();
    _SIPD_MSG_TYPE_E type;
    EXPECT_EQ(pair.channel.recvMsgType(&type), 0);
    EXPECT_THAT(
        diagnosticsOf([&] { EXPECT_EQ(pair.channel.recvMsgType(&type), 5); }),
        ElementsAre(
            "{4} SIP_COMM_Channel.cpp, recvMsgType()\tthe last message has not been deal with , clear it",
            "{1} SIP_COMM_Channel.cpp\tsocket has been closed",
            "{1} SIP_COMM_Channel.cpp\tread message body fail"));
    EXPECT_EQ(type, SIPD_MSG_NONE);
    EXPECT_FALSE(pair.channel.isConnected());
}

TEST(Channel, ReadsFourBytesOfAckWhateverLengthWasAnnounced)
{
    for (const uint32_t announced : {0U, 1U, 5U, 0xffffffffU}) {
        ChannelPair pair;
        pair.give(encodeHead(announced, SIPD_MSG_ACK, 0) + encodeAck(4).substr(12) + encodeAck(0));
        _SIPD_MSG_TYPE_E type;
        _SIPD_APP_ACK_E ack;
        EXPECT_EQ(pair.channel.recvMsgType(&type), 0);
        EXPECT_EQ(pair.channel.pendingBodyLength(), announced);
        EXPECT_EQ(pair.channel.recvAckMsg(&ack), 0);
        EXPECT_EQ(ack, SIPD_ACK_CONNECT_FAILED);
        EXPECT_EQ(receiveMessage(pair.channel), 0);
    }
}

TEST(Channel, Reads140BytesOfProfileWhateverLengthWasAnnounced)
{
    for (const uint32_t announced : {0U, 1U, 0xffffffffU}) {
        ChannelPair pair;
        pair.give(encodeHead(announced, SIPD_MSG_PROFILE, 0) + encodeProfileBody(profileNamed("p")) +
                  encodeAck(0));
        EXPECT_EQ(receiveMessage(pair.channel), 0);
        EXPECT_EQ(receiveMessage(pair.channel), 0);
    }
}

TEST(Channel, DiscardsABodyOfNoBytes)
{
    ChannelPair pair;
    pair.give(encodeHead(0, 6, 0) + encodeAck(0));
    _SIPD_MSG_TYPE_E type;
    EXPECT_EQ(pair.channel.recvMsgType(&type), 0);
    EXPECT_EQ(receiveMessage(pair.channel), 0);
}

TEST(Channel, ClosesWhenThePeerDoesAtAnyByteOfAnyMessage)
{
    for (const std::string& message : everyMessage) {
        for (size_t sent = 0; sent < message.size(); ++sent) {
            WatchedPair pair;
            ASSERT_EQ(send(pair.daemonEnd, message.data(), sent, 0), static_cast<ssize_t>(sent));
            shutdown(pair.daemonEnd, SHUT_WR);
            const auto log = diagnosticsOf([&] { EXPECT_EQ(receiveMessage(pair.channel), 5) << sent; });
            EXPECT_FALSE(pair.channel.isConnected());
            EXPECT_EQ(pair.channel.getFd(), -1);
            EXPECT_EQ(pair.channel.closings, 1);
            EXPECT_THAT(log, testing::Contains("{1} SIP_COMM_Channel.cpp\tsocket has been closed"));
        }
    }
}

TEST(Channel, NamesThePartThatCouldNotBeRead)
{
    const auto failureAfter = [](const std::string& message, size_t sent) {
        ChannelPair pair;
        pair.give(message.substr(0, sent));
        pair.closeDaemonEnd();
        return diagnosticsOf([&] { EXPECT_EQ(receiveMessage(pair.channel), 5); }).back();
    };
    EXPECT_EQ(failureAfter(everyMessage[0], 11), "{1} SIP_COMM_Channel.cpp\tread head fail");
    EXPECT_EQ(failureAfter(everyMessage[0], 15), "{1} SIP_COMM_Channel.cpp\tread ack messsage fail");
    EXPECT_EQ(failureAfter(everyMessage[1], 151), "{1} SIP_COMM_Channel.cpp\tread profile messsage fail");
    EXPECT_EQ(failureAfter(everyMessage[2], 277), "{1} SIP_COMM_Channel.cpp\tread status messsage fail");
    EXPECT_EQ(failureAfter(everyMessage[3], 280), "{1} SIP_COMM_Channel.cpp\tread sdp body fail");
}

TEST(Channel, ReportsAResetOfThePeer)
{
    ChannelPair pair;
    ASSERT_EQ(pair.channel.sendControlMsg(SIPD_MSG_REGISTER), 0);
    pair.closeDaemonEnd(); // without reading it
    _SIPD_MSG_TYPE_E type;
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(pair.channel.recvMsgType(&type), 2); }),
                ElementsAre("{1} SIP_COMM_Channel.cpp\tfail when read or write socket 104",
                            "{1} SIP_COMM_Channel.cpp\tread head fail"));
    EXPECT_FALSE(pair.channel.isConnected());
}

TEST(Channel, SendsARegistrationAsABareHeader)
{
    ChannelPair pair;
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(pair.channel.sendControlMsg(SIPD_MSG_REGISTER), 0); }),
                IsEmpty());
    EXPECT_EQ(pair.taken(), encodeHead(0, 1, 100));
}

TEST(Channel, SendsAControlMessageOfAnyTypeAsABareHeader)
{
    ChannelPair pair(static_cast<_SIPD_APPID_E>(7));
    EXPECT_EQ(pair.channel.sendControlMsg(static_cast<_SIPD_MSG_TYPE_E>(6)), 0);
    EXPECT_EQ(pair.taken(), encodeHead(0, 6, 7));
}

TEST(Channel, ClosesThroughAnOverrideWhenItCannotSend)
{
    WatchedPair pair;
    shutdown(pair.channel.getFd(), SHUT_WR);
    EXPECT_EQ(pair.channel.sendControlMsg(SIPD_MSG_REGISTER), 2);
    EXPECT_EQ(pair.channel.closings, 1);
}

TEST(Channel, SendsAProfileWithItsOwnApplicationId)
{
    ChannelPair pair(static_cast<_SIPD_APPID_E>(7));
    const _SIPD_MSG_PROFILE_S profile = profileNamed("Profile3");
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(pair.channel.sendProfileMsg(&profile), 0); }), IsEmpty());
    EXPECT_EQ(pair.taken(), encodeHead(140, 3, 7) + encodeProfileBody(profile));
}

TEST(Channel, SendsACommandWithUriAndSdp)
{
    ChannelPair pair;
    _SIPD_APP_URI_S uri;
    std::memset(&uri, 'u', sizeof(uri));
    EXPECT_THAT(diagnosticsOf([&] {
                    EXPECT_EQ(
                        pair.channel.sendCommandMsg(static_cast<_SIPD_SIP_COMMAND_E>(9), -2, &uri, "v=0", 3),
                        0);
                }),
                ElementsAre("{4} SIP_COMM_Channel.cpp, sendCommandMsg()\tcommand 9 , sdp len 3"));
    EXPECT_EQ(pair.taken(), encodeHead(269, 4, 100) + std::string("\x09\0\0\0\xfe\xff\xff\xff", 8) +
                                std::string(256, 'u') + std::string("\x03\0v=0", 5));
}

TEST(Channel, SendsACommandWithoutUriAndSdp)
{
    ChannelPair pair;
    EXPECT_EQ(pair.channel.sendCommandMsg({}, 1, nullptr, "v=0", 0), 0);
    EXPECT_EQ(pair.taken(),
              encodeHead(266, 4, 100) + std::string("\0\0\0\0\1\0\0\0", 8) + std::string(258, '\0'));
}

TEST(Channel, AnnouncesAnSdpThatItIsNotGiven)
{
    ChannelPair pair;
    EXPECT_EQ(pair.channel.sendCommandMsg({}, 0, nullptr, nullptr, 0x105), 0);
    EXPECT_EQ(pair.taken(),
              encodeHead(266 + 0x105, 4, 100) + std::string(264, '\0') + std::string("\x05\x01", 2));
}

TEST(Channel, SendsMoreThanTheSocketHoldsToAPeerThatReads)
{
    ChannelPair pair;
    std::string sdp(1024UL * 1024, 'v');
    size_t received = 0;
    std::thread reader([&] {
        char buffer[4096];
        for (ssize_t count = 0; (count = recv(pair.daemonEnd, buffer, sizeof(buffer), 0)) > 0;)
            received += static_cast<size_t>(count);
    });
    EXPECT_EQ(pair.channel.writeSocket(sdp.data(), static_cast<unsigned int>(sdp.size())), 0);
    pair.channel.disconnectDaemon();
    reader.join();
    EXPECT_EQ(received, sdp.size());
}

TEST(Channel, DoesNothingToTransferNoBytes)
{
    TestChannel channel; // any system call would fail
    char byte = 'k';
    EXPECT_EQ(channel.readSocket(&byte, 0), 0);
    EXPECT_EQ(channel.writeSocket(&byte, 0), 0);
    EXPECT_EQ(channel.clearReadSocket(0), 0);
    EXPECT_EQ(byte, 'k');
}

TEST(Channel, PutsEveryErrnoIntoWords)
{
    TestChannel channel(-1);
    const auto wordsFor = [&channel](int number) {
        const auto log = diagnosticsOf([&] {
            errno = number;
            channel.printSocketErrno();
        });
        return log.size() == 1 ? log[0] : "not one line";
    };
    const std::string form = "{1} SIP_COMM_Channel.cpp\t";
    EXPECT_EQ(wordsFor(EINTR), form + "r/w was interrupted by  a  signal  ");
    EXPECT_EQ(wordsFor(EBADF), form + "bad fd -1");
    EXPECT_EQ(wordsFor(EAGAIN), form + "selected , but read nothing or can not wirte");
    EXPECT_EQ(wordsFor(EFAULT), form + "buf is outside your accessible address space.");
    EXPECT_EQ(wordsFor(EINVAL), form + "fd is attached to an object which is unsuitable");
    EXPECT_EQ(wordsFor(EFBIG), form + "write too much bytes");
    EXPECT_EQ(wordsFor(ENOSPC), form + "no room for wite");
    EXPECT_EQ(wordsFor(EIO), form + "fail when read or write socket 5");
}

TEST(Channel, ReportsABadDescriptorByItsNumber)
{
    TestChannel channel(999);
    char byte;
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(channel.readSocket(&byte, 1), 2); }),
                ElementsAre("{1} SIP_COMM_Channel.cpp\tbad fd 999"));
    EXPECT_EQ(channel.getFd(), -1);
}

TEST(ChannelAssertion, RequiresEveryPointer)
{
    ChannelPair pair;
    TestChannel& channel = pair.channel;
    EXPECT_EQ(assertionOf([&] { channel.recvMsgType(nullptr); }), "ORMU_ASSERT(type != nullptr);");
    EXPECT_EQ(assertionOf([&] { channel.recvStatusMsg(nullptr, nullptr, nullptr); }),
              "ORMU_ASSERT(status != nullptr);");
    EXPECT_EQ(assertionOf([&] { channel.recvAckMsg(nullptr); }), "ORMU_ASSERT(ack != nullptr);");
    EXPECT_EQ(assertionOf([&] { channel.recvProfileMsg(nullptr); }), "ORMU_ASSERT(profile != nullptr);");
    EXPECT_EQ(assertionOf([&] { channel.sendProfileMsg(nullptr); }), "ORMU_ASSERT(profile != nullptr);");
    EXPECT_EQ(assertionOf([&] { channel.readSocket(nullptr, 0); }), "ORMU_ASSERT(buf != nullptr);");
    EXPECT_EQ(assertionOf([&] { channel.writeSocket(nullptr, 0); }), "ORMU_ASSERT(buf != nullptr);");
    TestChannel closed;
    EXPECT_EQ(assertionOf([&] { closed.recvMsgType(nullptr); }), "ORMU_ASSERT(type != nullptr);");
}
