// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "LinkTest.h"
#include "SipdWire.h"

#include <set>
#include <type_traits>

namespace {

const std::string statusFields(264, 's');

const std::string clearing = channelInfo("recvMsgType", "the last message has not been deal with , clear it");
const std::string closedByPeer = channelError("socket has been closed");
const std::string receivedStatus = channelInfo("recvStatusMsg", "recieve status message");

_SIPD_MSG_PROFILE_S profileNamed(const std::string& name)
{
    _SIPD_MSG_PROFILE_S profile = {};
    name.copy(profile.name, SIPD_PROFILE_NAME_MAX);
    return profile;
}

// A subclass that overrides the closing.
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

class Channel : public testing::Test
{
protected:
    using Pair = ChannelPair<ClosingWatcher>;

    int receiveType(Pair& from) { return from.channel.recvMsgType(&type); }
    int receiveStatus(Pair& from) { return from.channel.recvStatusMsg(&status, sdp, &sdpLen); }

    // Receives the next message, of any type, as a client does.
    int receiveMessage(Pair& from)
    {
        const int result = receiveType(from);
        if (result != SIP_COMM_SUCCESS)
            return result;
        switch (type) {
        case SIPD_MSG_ACK:
            return from.channel.recvAckMsg(&ack);
        case SIPD_MSG_PROFILE:
            return from.channel.recvProfileMsg(&profile);
        case SIPD_MSG_STATUS:
            return receiveStatus(from);
        default:
            return -1;
        }
    }

    Pair pair;
    ClosingWatcher& channel = pair.channel;
    ClosingWatcher closed;
    _SIPD_MSG_TYPE_E type = SIPD_MSG_ACK;
    _SIPD_APP_ACK_E ack = SIPD_ACK_SUCCESS;
    _SIPD_MSG_PROFILE_S profile = {};
    _SIPD_MSG_STATUS_S status = {};
    char sdp[SIPD_SDP_MAX] = {};
    unsigned int sdpLen = 99;
};

// A message with the log lines of its receiver: one when it arrives, one when its body breaks off.
struct Received
{
    std::string bytes;
    std::string log;
    std::string failure;
};
const std::vector<Received> receivedMessages = {
    {encodeAck(SIPD_ACK_INCORRECT_PROFILE), channelInfo("recvAckMsg", "recieve ack message"),
     channelError("read ack messsage fail")},
    {encodeProfile(profileNamed("Profile0")), channelInfo("recvProfileMsg", "recieve profile message"),
     channelError("read profile messsage fail")},
    {encodeStatus(statusFields, "v=0"), receivedStatus, channelError("read status messsage fail")},
};

// The place of a virtual operation in the class's table, in the common C++ ABI.
template <class Operation>
size_t slotOf(Operation operation)
{
    std::ptrdiff_t parts[2];
    static_assert(sizeof(operation) == sizeof(parts));
    std::memcpy(parts, &operation, sizeof(parts));
    return static_cast<size_t>(parts[0] - 1) / sizeof(void*);
}

} // namespace

TEST_F(Channel, IsClosedAtFirst)
{
    const TestChannel made(-1, static_cast<_SIPD_APPID_E>(7));
    EXPECT_FALSE(made.isConnected());
    EXPECT_EQ(closed.getFd(), -1);
    EXPECT_EQ(made.applicationId(), 7);
    EXPECT_EQ(made.pendingMessageType(), SIPD_MSG_NONE);
    EXPECT_EQ(made.pendingBodyLength(), 0U);
}

TEST_F(Channel, HasItsBinaryLayout)
{
#if defined(__x86_64__)
    // The destructor, which is the first, has two slots.
    EXPECT_EQ(slotOf(&SIP_COMM_Channel::connectDaemon), 2U);
    EXPECT_EQ(slotOf(&SIP_COMM_Channel::disconnectDaemon), 3U);
    EXPECT_EQ(slotOf(&SIP_COMM_Channel::getFd), 4U);
#endif
    static_assert(std::has_virtual_destructor_v<SIP_COMM_Channel>);
    static_assert(sizeof(SIP_COMM_Channel) == sizeof(void*) + 16);
    TestChannel made(0x11, static_cast<_SIPD_APPID_E>(0x22));
    made.setPending(static_cast<_SIPD_MSG_TYPE_E>(0x33), 0x44);
    uint32_t fields[4];
    std::memcpy(fields, reinterpret_cast<const char*>(&made) + sizeof(void*), sizeof(fields));
    EXPECT_THAT(fields, ElementsAre(0x11, 0x22, 0x33, 0x44));
    made.setFd(-1);
}

TEST_F(Channel, ReadsAPendingBodyEvenWhenClosed)
{
    closed.setPending(SIPD_MSG_ACK, 4);
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(closed.recvAckMsg(&ack), SIP_COMM_IO_ERROR); }),
                Contains(channelError("bad fd -1")));
    EXPECT_EQ(closed.pendingMessageType(), SIPD_MSG_NONE);
    closed.setPending(SIPD_MSG_PROFILE, sizeof(profile));
    EXPECT_EQ(closed.recvProfileMsg(&profile), SIP_COMM_IO_ERROR);
    EXPECT_EQ(closed.recvProfileMsg(&profile), SIP_COMM_FAILED);
    closed.setPending(SIPD_MSG_STATUS, sizeof(status));
    EXPECT_EQ(closed.recvStatusMsg(&status, nullptr, nullptr), SIP_COMM_IO_ERROR);
    EXPECT_EQ(closed.pendingMessageType(), SIPD_MSG_NONE);
}

TEST_F(Channel, SendsOnEveryDescriptorButMinusOne)
{
    TestChannel odd(-2);
    EXPECT_FALSE(odd.isConnected());
    EXPECT_EQ(odd.recvMsgType(&type), SIP_COMM_FAILED);
    EXPECT_THAT(diagnosticsOf([&] { EXPECT_EQ(odd.sendControlMsg(SIPD_MSG_REGISTER), SIP_COMM_IO_ERROR); }),
                Contains(channelError("bad fd -2")));
}

TEST_F(Channel, CanBeDisconnectedTwice)
{
    EXPECT_TRUE(channel.isConnected());
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(channel.disconnectDaemon(), SIP_COMM_SUCCESS);
        EXPECT_EQ(channel.getFd(), -1);
    }
}

TEST_F(Channel, ClosesItsSocketInItsDestructor)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    {
        const TestChannel destroyed(ends[0]);
    }
    char byte;
    EXPECT_EQ(read(ends[1], &byte, 1), 0);
    close(ends[1]);
}

TEST_F(Channel, NeitherReceivesNorSendsWhenClosed)
{
    const auto refusal = [](const char* function) { return channelInfo(function, " connect dammon first"); };
    expectLog({refusal("recvMsgType"), refusal("sendProfileMsg"), refusal("sendProfileMsg"),
               refusal("sendControlMsg"), refusal("sendCommandMsg")},
              [&] {
                  EXPECT_EQ(closed.recvMsgType(&type), SIP_COMM_FAILED);
                  EXPECT_EQ(closed.sendProfileMsg(&profile), SIP_COMM_FAILED);
                  EXPECT_EQ(closed.sendProfileMsg(nullptr), SIP_COMM_FAILED);
                  EXPECT_EQ(closed.sendControlMsg(SIPD_MSG_REGISTER), SIP_COMM_FAILED);
                  EXPECT_EQ(closed.sendCommandMsg({}, 0, nullptr, nullptr, 0), SIP_COMM_FAILED);
              });
    EXPECT_EQ(type, SIPD_MSG_NONE);
}

TEST_F(Channel, SendsOnDescriptorZeroButDoesNotReceive)
{
    const int savedStdin = dup(STDIN_FILENO);
    dup2(channel.getFd(), STDIN_FILENO);
    {
        TestChannel zero(0);
        EXPECT_FALSE(zero.isConnected());
        EXPECT_EQ(zero.recvMsgType(&type), SIP_COMM_FAILED);
        EXPECT_EQ(zero.sendControlMsg(SIPD_MSG_REGISTER), SIP_COMM_SUCCESS);
        EXPECT_EQ(pair.taken().size(), sizeof(_SIPD_MSG_HEAD_S));
        EXPECT_EQ(zero.disconnectDaemon(), SIP_COMM_SUCCESS);
        EXPECT_EQ(zero.getFd(), 0);
    }
    EXPECT_NE(fcntl(STDIN_FILENO, F_GETFD), -1) << "descriptor 0 was closed";
    dup2(savedStdin, STDIN_FILENO);
    close(savedStdin);
}

TEST_F(Channel, ReceivesAMessageInTwoCalls)
{
    for (const Received& message : receivedMessages) {
        pair.give(message.bytes);
        expectLog({message.log}, [&] { EXPECT_EQ(receiveMessage(pair), SIP_COMM_SUCCESS); });
        EXPECT_EQ(channel.pendingMessageType(), SIPD_MSG_NONE);
    }
    EXPECT_EQ(ack, SIPD_ACK_INCORRECT_PROFILE);
    EXPECT_STREQ(profile.name, "Profile0");
    EXPECT_EQ(std::memcmp(status.fields, statusFields.data(), sizeof(status.fields)), 0);
    EXPECT_EQ(std::string(sdp, sdpLen), "v=0");
}

TEST_F(Channel, ReceivesAStatusWithoutSdp)
{
    pair.give(encodeStatus(statusFields, "") + encodeStatus(statusFields, ""));
    EXPECT_EQ(receiveMessage(pair), SIP_COMM_SUCCESS);
    EXPECT_EQ(sdpLen, 0U);
    EXPECT_EQ(sdp[0], '\0');
    ASSERT_EQ(receiveType(pair), SIP_COMM_SUCCESS);
    expectLog({receivedStatus},
              [&] { EXPECT_EQ(channel.recvStatusMsg(&status, nullptr, nullptr), SIP_COMM_SUCCESS); });
}

TEST_F(Channel, DiscardsAnSdpThatTheCallerDoesNotWant)
{
    pair.give(encodeStatus(statusFields, "v=0") + encodeAck(0));
    ASSERT_EQ(receiveType(pair), SIP_COMM_SUCCESS);
    expectLog({receivedStatus, "{4} SIP_COMM_Channel.cpp\thave sdp body , but you do not need it"},
              [&] { EXPECT_EQ(channel.recvStatusMsg(&status, nullptr, &sdpLen), SIP_COMM_SUCCESS); });
    EXPECT_EQ(sdpLen, 3U);
    EXPECT_EQ(receiveMessage(pair), SIP_COMM_SUCCESS);
}

TEST_F(Channel, TakesAnSdpOf1024BytesAndClosesOnOneMore)
{
    pair.give(encodeStatus(statusFields, std::string(1024, 'v')));
    EXPECT_EQ(receiveMessage(pair), SIP_COMM_SUCCESS);
    EXPECT_EQ(std::string(sdp, sdpLen), std::string(1024, 'v'));
    pair.give(encodeStatus(statusFields, std::string(1025, 'v')));
    expectLog({receivedStatus, channelError("sdp length wrong in status message")},
              [&] { EXPECT_EQ(receiveMessage(pair), SIP_COMM_FAILED); });
    EXPECT_EQ(sdpLen, 1024U);
    EXPECT_FALSE(channel.isConnected());
    EXPECT_EQ(channel.closings, 1);
}

TEST_F(Channel, FailsWhenAnUnwantedSdpBreaksOff)
{
    std::string message = encodeStatus(statusFields, "v=0");
    message.pop_back();
    pair.give(message);
    pair.closeDaemonEnd();
    ASSERT_EQ(receiveType(pair), SIP_COMM_SUCCESS);
    EXPECT_THAT(
        diagnosticsOf([&] { EXPECT_EQ(channel.recvStatusMsg(&status, nullptr, &sdpLen), SIP_COMM_CLOSED); }),
        Contains(channelError("read sdp body fail")));
    EXPECT_EQ(sdpLen, 99U);
    EXPECT_FALSE(channel.isConnected());
}

TEST_F(Channel, ClosesWhenThePeerDoesAtAnyByteOfAMessage)
{
    for (const Received& message : receivedMessages) {
        for (size_t sent = 0; sent < message.bytes.size(); ++sent) {
            std::vector<std::string> log = {closedByPeer, channelError("read head fail")};
            if (sent >= sizeof(_SIPD_MSG_HEAD_S))
                log = {message.log, closedByPeer, message.failure};
            if (sent >= sizeof(_SIPD_MSG_HEAD_S) + sizeof(_SIPD_MSG_STATUS_S))
                log.back() = channelError("read sdp body fail");
            Pair broken;
            broken.give(message.bytes.substr(0, sent));
            broken.closeDaemonEnd();
            SCOPED_TRACE(sent);
            expectLog(log, [&] { EXPECT_EQ(receiveMessage(broken), SIP_COMM_CLOSED); });
            EXPECT_EQ(type == SIPD_MSG_NONE, sent < sizeof(_SIPD_MSG_HEAD_S));
            EXPECT_EQ(broken.channel.pendingMessageType(), SIPD_MSG_NONE);
            EXPECT_EQ(broken.channel.getFd(), -1);
            EXPECT_EQ(broken.channel.closings, 1);
        }
    }
    EXPECT_EQ(sdpLen, 99U);
}

TEST_F(Channel, LeavesAMessageOfAnotherTypePending)
{
    pair.give(encodeAck(3));
    const auto receivedAck = channelInfo("recvAckMsg", "recieve ack message");
    EXPECT_THAT(diagnosticsOf([&] {
                    EXPECT_EQ(channel.recvAckMsg(&ack), SIP_COMM_FAILED); // before the header
                    EXPECT_EQ(receiveType(pair), SIP_COMM_SUCCESS);
                    EXPECT_EQ(channel.recvProfileMsg(&profile), SIP_COMM_FAILED);
                    EXPECT_EQ(channel.recvStatusMsg(&status, nullptr, nullptr), SIP_COMM_FAILED);
                    EXPECT_EQ(channel.recvAckMsg(&ack), SIP_COMM_SUCCESS);
                }),
                ElementsAre(receivedAck, channelError("is not a ack message"),
                            channelInfo("recvProfileMsg", "recieve profile message"),
                            channelError("is not a profile message"), channelError("is not a status message"),
                            receivedAck));
    EXPECT_EQ(ack, SIPD_ACK_INCORRECT_PROFILE);
}

TEST_F(Channel, DiscardsAnUnreadBodyOfAnyTypeAndLength)
{
    const std::string body = "body of a message";
    for (const uint32_t unread : {2U, 3U, 5U, 6U, 7U, 8U, 0xffffffffU}) {
        for (const size_t length : {size_t{0}, body.size()}) {
            pair.give(encodeMessage({unread, 9, body.substr(0, length)}) + encodeAck(0));
            EXPECT_EQ(receiveType(pair), SIP_COMM_SUCCESS);
            EXPECT_EQ(static_cast<uint32_t>(type), unread);
            EXPECT_EQ(channel.pendingBodyLength(), length);
            expectLog({clearing}, [&] { EXPECT_EQ(receiveType(pair), SIP_COMM_SUCCESS); });
            EXPECT_EQ(type, SIPD_MSG_ACK);
            EXPECT_EQ(channel.recvAckMsg(&ack), SIP_COMM_SUCCESS);
        }
    }
}

TEST_F(Channel, TreatsAHeaderOfTypeNoneAsNoMessage)
{
    pair.give(encodeHead(4, SIPD_MSG_NONE, 0) + encodeAck(0));
    expectLog({}, [&] {
        EXPECT_EQ(receiveType(pair), SIP_COMM_SUCCESS);
        EXPECT_EQ(receiveType(pair), SIP_COMM_SUCCESS);
    });
}

TEST_F(Channel, ReportsABodyThatCannotBeDiscarded)
{
    pair.give(encodeHead(10, SIPD_MSG_ACK, 0) + "four");
    pair.closeDaemonEnd();
    EXPECT_EQ(receiveType(pair), SIP_COMM_SUCCESS);
    expectLog({clearing, closedByPeer, channelError("read message body fail")},
              [&] { EXPECT_EQ(receiveType(pair), SIP_COMM_CLOSED); });
    EXPECT_EQ(type, SIPD_MSG_NONE);
    EXPECT_FALSE(channel.isConnected());
}

TEST_F(Channel, ReadsABodyOfFixedSizeWhateverLengthIsAnnounced)
{
    for (const Received& message : receivedMessages) {
        for (const uint32_t announced : {0U, 1U, 5U, 0xffffffffU}) {
            std::string bytes = message.bytes;
            std::memcpy(bytes.data(), &announced, sizeof(announced));
            pair.give(bytes + encodeAck(4));
            EXPECT_EQ(receiveMessage(pair), SIP_COMM_SUCCESS);
            EXPECT_EQ(channel.pendingBodyLength(), announced);
            EXPECT_EQ(receiveMessage(pair), SIP_COMM_SUCCESS);
            EXPECT_EQ(ack, SIPD_ACK_CONNECT_FAILED);
        }
    }
}

TEST_F(Channel, ReportsAResetOfThePeer)
{
    ASSERT_EQ(channel.sendControlMsg(SIPD_MSG_REGISTER), SIP_COMM_SUCCESS);
    pair.closeDaemonEnd(); // without reading the message
    expectLog({channelError("fail when read or write socket 104"), channelError("read head fail")},
              [&] { EXPECT_EQ(receiveType(pair), SIP_COMM_IO_ERROR); });
    EXPECT_FALSE(channel.isConnected());
}

// The vectors have the bytes of every other message that it sends.
TEST_F(Channel, SendsABareHeaderOfAnyType)
{
    EXPECT_EQ(channel.sendControlMsg(static_cast<_SIPD_MSG_TYPE_E>(6)), SIP_COMM_SUCCESS);
    EXPECT_EQ(pair.taken(), encodeHead(0, 6, 100));
}

TEST_F(Channel, LogsTheCommandsThatItSendsAndNothingElse)
{
    const auto command = static_cast<_SIPD_SIP_COMMAND_E>(9);
    EXPECT_THAT(diagnosticsOf([&] {
                    EXPECT_EQ(channel.sendControlMsg(SIPD_MSG_REGISTER), SIP_COMM_SUCCESS);
                    EXPECT_EQ(channel.sendProfileMsg(&profile), SIP_COMM_SUCCESS);
                    EXPECT_EQ(channel.sendCommandMsg(command, -2, nullptr, "v=0", 3), SIP_COMM_SUCCESS);
                }),
                ElementsAre(channelInfo("sendCommandMsg", "command 9 , sdp len 3")));
}

TEST_F(Channel, ClosesThroughAnOverrideWhenItCannotSend)
{
    shutdown(channel.getFd(), SHUT_WR);
    EXPECT_EQ(channel.sendControlMsg(SIPD_MSG_REGISTER), SIP_COMM_IO_ERROR);
    EXPECT_EQ(channel.closings, 1);
}

TEST_F(Channel, SendsNoSdpOfNoBytesAndAnnouncesOneThatIsNotGiven)
{
    EXPECT_EQ(channel.sendCommandMsg({}, 1, nullptr, "v=0", 0), SIP_COMM_SUCCESS);
    EXPECT_EQ(pair.taken(),
              encodeHead(266, 4, 100) + std::string("\0\0\0\0\1\0\0\0", 8) + std::string(258, '\0'));
    EXPECT_EQ(channel.sendCommandMsg({}, 0, nullptr, nullptr, 0x105), SIP_COMM_SUCCESS);
    EXPECT_EQ(pair.taken(),
              encodeHead(266 + 0x105, 4, 100) + std::string(264, '\0') + std::string("\x05\x01", 2));
}

TEST_F(Channel, SendsMoreThanTheSocketHolds)
{
    std::string bytes(1024UL * 1024, 'v');
    size_t received = 0;
    std::thread reader([&] {
        char buffer[4096];
        for (ssize_t count = 0; (count = recv(pair.daemonEnd, buffer, sizeof(buffer), 0)) > 0;)
            received += static_cast<size_t>(count);
    });
    EXPECT_EQ(channel.writeSocket(bytes.data(), static_cast<unsigned int>(bytes.size())), SIP_COMM_SUCCESS);
    channel.disconnectDaemon();
    reader.join();
    EXPECT_EQ(received, bytes.size());
}

TEST_F(Channel, TransfersNoBytesWithoutASystemCall)
{
    char byte = 'k'; // a call on the closed descriptor would fail
    EXPECT_EQ(closed.readSocket(&byte, 0), SIP_COMM_SUCCESS);
    EXPECT_EQ(closed.writeSocket(&byte, 0), SIP_COMM_SUCCESS);
    EXPECT_EQ(closed.clearReadSocket(0), SIP_COMM_SUCCESS);
    EXPECT_EQ(byte, 'k');
}

TEST_F(Channel, LogsEveryErrnoInWords)
{
    const std::pair<int, const char*> errors[] = {
        {EINTR, "r/w was interrupted by  a  signal  "},
        {EBADF, "bad fd -1"},
        {EAGAIN, "selected , but read nothing or can not wirte"},
        {EFAULT, "buf is outside your accessible address space."},
        {EINVAL, "fd is attached to an object which is unsuitable"},
        {EFBIG, "write too much bytes"},
        {ENOSPC, "no room for wite"},
        {EIO, "fail when read or write socket 5"},
    };
    for (const auto& [number, words] : errors) {
        expectLog({channelError(words)}, [&, error = number] {
            errno = error;
            closed.printSocketErrno();
        });
    }
}

TEST_F(Channel, NamesABadDescriptorByItsNumber)
{
    TestChannel bad(999);
    char byte;
    expectLog({channelError("bad fd 999")}, [&] { EXPECT_EQ(bad.readSocket(&byte, 1), SIP_COMM_IO_ERROR); });
    EXPECT_EQ(bad.getFd(), -1);
}

TEST_F(Channel, RequiresEveryPointer)
{
    const std::function<void()> calls[] = {
        [&] { closed.recvMsgType(nullptr); },     [&] { channel.recvStatusMsg(nullptr, nullptr, nullptr); },
        [&] { channel.recvAckMsg(nullptr); },     [&] { channel.recvProfileMsg(nullptr); },
        [&] { channel.sendProfileMsg(nullptr); }, [&] { channel.readSocket(nullptr, 0); },
        [&] { channel.writeSocket(nullptr, 0); },
    };
    std::set<int> lines;
    for (const auto& call : calls)
        lines.insert(assertionLine("SIP_COMM_Channel.cpp", call));
    EXPECT_EQ(lines.size(), std::size(calls)) << "two calls report one line";
}
