// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The link when system calls or allocations fail.

#include "LinkTest.h"
#include "ORMU_Diagnostics.h"
#include "SystemCalls.h"

#include <algorithm>
#include <new>

namespace {

// The nth nothrow allocation from now fails; 0 for none.
thread_local int failingAllocation = 0;

bool allocationFails()
{
    return failingAllocation > 0 && --failingAllocation == 0;
}

using Fault = SystemCalls::Fault;

// Every call of that name fails, or one of them: the nth, from 1.
Fault fail(std::string_view name, int error, int nth = 0)
{
    return [=, count = 0](std::string_view called, size_t) mutable -> std::optional<long> {
        if (called != name || (nth != 0 && ++count != nth))
            return std::nullopt;
        errno = error;
        return -1;
    };
}

// The index-th call of any name fails, from 0.
Fault failAt(size_t index, int error)
{
    return [=, count = size_t{0}](std::string_view, size_t) mutable -> std::optional<long> {
        if (count++ != index)
            return std::nullopt;
        errno = error;
        return -1;
    };
}

// Makes every request and query; 0 when all succeed.
int useTheLink()
{
    _SIP_COMM_PROFILE_CONTROL_S* handle = nullptr;
    _SIPD_APP_ACK_E ack = SIPD_ACK_FAILED;
    _SIPD_PROFILE_STATUS_E status = {};
    char name[SIPD_PROFILE_NAME_MAX + 1];
    int result = SIP_COMM_ControlerConstruct(&handle);
    if (result == 0)
        result = SIP_COMM_ControlerSetProfileName(handle, SIPD_APPID_SETUP, "Profile4");
    if (result == 0)
        result = SIP_COMM_ControlerGetAck(handle, &ack);
    if (result == 0)
        result = SIP_COMM_ControlerProfileConnect(handle, "Profile4");
    if (result == 0)
        result = SIP_COMM_ControlerGetAck(handle, &ack);
    if (result == 0)
        result = SIP_COMM_ControlerGetProfileStatus(handle, "Profile4", &status);
    if (result == 0)
        result = SIP_COMM_ControlerGetProfileName(handle, SIPD_APPID_SETUP, name, sizeof(name));
    if (result == 0 &&
        (ack != SIPD_ACK_SUCCESS || status != SIPD_PROFILE_CONNECTED || strcmp(name, "Profile4") != 0))
        result = -1;
    SIP_COMM_ControlerDestruct(&handle);
    return result;
}

std::vector<std::string> fullUse()
{
    std::vector<std::string> calls = {"socket", "fcntl", "connect 110", "write 12", "read 12", "read 4"};
    for (int request = 0; request < 2; ++request)
        calls.insert(calls.end(), {"write 12", "write 140", "read 12", "read 4"});
    for (int query = 0; query < 2; ++query)
        calls.insert(calls.end(), {"write 12", "write 140", "read 12", "read 140"});
    calls.emplace_back("close");
    return calls;
}

// The log line of an interrupted read or write.
std::string interruption(const std::string& call)
{
    return channelInfo(call + "Socket", "EINTR happen in " + call);
}

bool mayBlock(const std::string& call)
{
    return call.starts_with("read") || call.starts_with("write");
}

void ignoreSignal(int) {}

// A handler for SIGUSR1 that interrupts system calls.
class Interruptions
{
public:
    Interruptions()
    {
        struct sigaction action = {};
        action.sa_handler = ignoreSignal;
        sigaction(SIGUSR1, &action, &saved);
    }
    ~Interruptions() { sigaction(SIGUSR1, &saved, nullptr); }
    Interruptions(const Interruptions&) = delete;
    Interruptions& operator=(const Interruptions&) = delete;

    // Sends signals to the thread until one has interrupted a call.
    static void untilOneHits(pthread_t thread)
    {
        for (const int before = SystemCalls::interrupted(); SystemCalls::interrupted() == before;
             std::this_thread::yield())
            pthread_kill(thread, SIGUSR1);
    }

private:
    struct sigaction saved = {};
};

} // namespace

void* operator new(size_t size, const std::nothrow_t&) noexcept
try {
    return allocationFails() ? nullptr : ::operator new(size);
} catch (const std::bad_alloc&) {
    return nullptr;
}

void* operator new[](size_t size, const std::nothrow_t&) noexcept
try {
    return allocationFails() ? nullptr : ::operator new[](size);
} catch (const std::bad_alloc&) {
    return nullptr;
}

class Faults : public DaemonTest
{
};

TEST_F(Faults, DoNotOccurInAFullUse)
{
    play("admit");
    SystemCalls calls;
    EXPECT_EQ(useTheLink(), SIP_COMM_SUCCESS);
    EXPECT_EQ(calls.made, fullUse());
}

TEST_F(Faults, OfSocketFailTheConnection)
{
    const SystemCalls calls(fail("socket", EMFILE));
    SIP_COMM_Channel channel(SIPD_APPID_SETUP);
    expectLog({channelError("socket create fail")},
              [&] { EXPECT_EQ(channel.connectDaemon(), SIP_COMM_FAILED); });
    EXPECT_THAT(calls.made, ElementsAre("socket"));
}

TEST_F(Faults, IncludeDescriptorZeroWhichIsClosed)
{
    play("admit");
    SIP_COMM_Channel channel(SIPD_APPID_SETUP);
    expectLog({channelError("socket create fail")}, [&] {
        const int savedStdin = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
        close(STDIN_FILENO);
        EXPECT_EQ(channel.connectDaemon(), SIP_COMM_FAILED);
        EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1) << "descriptor 0 leaked";
        dup2(savedStdin, STDIN_FILENO);
        close(savedStdin);
    });
    EXPECT_EQ(channel.getFd(), -1);
}

TEST_F(Faults, OfTheRegistrationCloseTheNewConnection)
{
    play("admit");
    const SystemCalls calls(fail("write", EIO));
    TestChannel channel;
    expectLog({channelError("fail when read or write socket 5"),
               channelInfo("sendControlMsg", " fail send head message")},
              [&] { EXPECT_EQ(channel.connectDaemon(), SIP_COMM_FAILED); });
    EXPECT_EQ(channel.getFd(), -1);
    EXPECT_THAT(calls.made, ElementsAre("socket", "fcntl", "connect 110", "write 12", "close"));
    EXPECT_TRUE(daemon().waitForClosed(1));
}

TEST_F(Faults, OfTheRegistrationCloseEvenWhenASubclassDoesNot)
{
    class Keeper : public TestChannel
    {
    public:
        int disconnectDaemon() override { return SIP_COMM_SUCCESS; }
    };
    play("admit");
    Keeper channel;
    {
        const SystemCalls calls(fail("write", EIO));
        EXPECT_EQ(channel.connectDaemon(), SIP_COMM_FAILED);
    }
    EXPECT_EQ(channel.getFd(), -1);
    EXPECT_TRUE(daemon().waitForClosed(1));
}

TEST_F(Faults, ThatInterruptACallRepeatIt)
{
    play("admit");
    const std::vector<std::string> expected = fullUse();
    for (size_t i = 0; i < expected.size(); ++i) {
        if (!mayBlock(expected[i]))
            continue;
        const SystemCalls calls(failAt(i, EINTR));
        const auto log = diagnosticsOf([&] { EXPECT_EQ(useTheLink(), SIP_COMM_SUCCESS) << expected[i]; });
        EXPECT_THAT(log, Contains(interruption(expected[i].substr(0, expected[i].find(' ')))));
        ASSERT_EQ(calls.made.size(), expected.size() + 1);
        EXPECT_EQ(calls.made[i], calls.made[i + 1]);
    }
}

TEST_F(Faults, OfAnyCallFailTheUseAndLeakNothing)
{
    play("admit");
    const std::vector<std::string> expected = fullUse();
    for (size_t i = 0; i < expected.size() - 1; ++i) {
        if (expected[i] == "fcntl")
            continue; // cannot fail on a socket
        SystemCalls calls(failAt(i, EIO));
        diagnosticsOf([&] { EXPECT_NE(useTheLink(), SIP_COMM_SUCCESS) << expected[i]; });
        EXPECT_GT(calls.made.size(), i) << "the fault did not occur";
        const auto closes = std::count(calls.made.begin(), calls.made.end(), "close");
        EXPECT_EQ(closes, i == 0 ? 0 : 1) << expected[i];
    }
}

class TransferFault : public testing::TestWithParam<std::string>
{
protected:
    int transferFourBytes()
    {
        return GetParam() == "read" ? pair.channel.readSocket(bytes, 4) : pair.channel.writeSocket(bytes, 4);
    }

    ChannelPair<> pair;
    char bytes[4] = {};
};

TEST_P(TransferFault, IsLoggedOnceForEachInterruption)
{
    pair.give("abcd");
    int left = 2;
    const SystemCalls calls([&](std::string_view called, size_t) -> std::optional<long> {
        if (called != GetParam() || left == 0)
            return std::nullopt;
        --left;
        errno = EINTR;
        return -1;
    });
    expectLog({interruption(GetParam()), interruption(GetParam())},
              [&] { EXPECT_EQ(transferFourBytes(), SIP_COMM_SUCCESS); });
    EXPECT_TRUE(pair.channel.isConnected());
}

TEST_P(TransferFault, IsACountAboveTheOneAskedFor)
{
    const SystemCalls calls([&](std::string_view called, size_t size) {
        return called == GetParam() ? std::optional<long>(static_cast<long>(size) + 1) : std::nullopt;
    });
    expectLog({channelError("unpossiable")}, [&] { EXPECT_EQ(transferFourBytes(), SIP_COMM_IO_ERROR); });
    EXPECT_FALSE(pair.channel.isConnected());
}

INSTANTIATE_TEST_SUITE_P(Of, TransferFault, testing::Values("read", "write"),
                         [](const auto& tested) { return tested.param; });

TEST(TransferFaults, AWriteOfFewerBytesIsContinued)
{
    ChannelPair<> pair;
    std::string bytes = "abcdef";
    std::string written;
    const SystemCalls calls([&](std::string_view name, size_t size) -> std::optional<long> {
        if (name != "write")
            return std::nullopt;
        written += bytes.substr(bytes.size() - size, 2);
        return 2;
    });
    EXPECT_EQ(pair.channel.writeSocket(bytes.data(), 6), 0);
    EXPECT_THAT(calls.made, ElementsAre("write 6", "write 4", "write 2"));
    EXPECT_EQ(written, bytes);
}

TEST(TransferFaults, AWriteOfNoBytesMeansThatThePeerClosed)
{
    ChannelPair<> pair;
    const SystemCalls calls([](std::string_view called, size_t) {
        return called == "write" ? std::optional<long>(0) : std::nullopt;
    });
    expectLog(
        {channelError("socket has been closed"), channelInfo("sendControlMsg", " fail send head message")},
        [&] { EXPECT_EQ(pair.channel.sendControlMsg(SIPD_MSG_REGISTER), SIP_COMM_CLOSED); });
    EXPECT_FALSE(pair.channel.isConnected());
}

TEST(TransferFaults, AreLoggedByTheirErrno)
{
    ChannelPair<> pair;
    const SystemCalls calls(fail("read", EAGAIN));
    char byte;
    expectLog({channelError("selected , but read nothing or can not wirte")},
              [&] { EXPECT_EQ(pair.channel.readSocket(&byte, 1), SIP_COMM_IO_ERROR); });
}

TEST(TransferFaults, NameThePartThatCouldNotBeSent)
{
    // Each part is a write.
    const auto failureAt = [](int failing, const std::function<int(SIP_COMM_Channel&)>& sendMessage) {
        ChannelPair<> pair;
        const SystemCalls calls(fail("write", ENOSPC, failing));
        const auto log = diagnosticsOf([&] { EXPECT_EQ(sendMessage(pair.channel), SIP_COMM_IO_ERROR); });
        EXPECT_FALSE(pair.channel.isConnected());
        EXPECT_EQ(log[log.size() - 2], channelError("no room for wite"));
        return log.back();
    };
    const auto sendProfile = [](SIP_COMM_Channel& channel) {
        const _SIPD_MSG_PROFILE_S profile = {};
        return channel.sendProfileMsg(&profile);
    };
    const auto sendCommand = [](SIP_COMM_Channel& channel) {
        return channel.sendCommandMsg({}, 0, nullptr, "v=0", 3);
    };
    EXPECT_EQ(failureAt(1, sendProfile), channelInfo("sendProfileMsg", " fail send head message"));
    EXPECT_EQ(failureAt(2, sendProfile), channelInfo("sendProfileMsg", " fail send profile message"));
    EXPECT_EQ(failureAt(1, sendCommand), channelInfo("sendCommandMsg", " fail send head message"));
    EXPECT_EQ(failureAt(2, sendCommand), channelInfo("sendCommandMsg", " fail send command message"));
    EXPECT_EQ(failureAt(3, sendCommand), channelInfo("sendCommandMsg", " fail send sdp body"));
}

TEST(TransferFaults, NoMemoryForAnUnreadBodyClosesTheChannel)
{
    ChannelPair<> pair;
    pair.give(encodeHead(0xffffffff, SIPD_MSG_ACK, 0));
    pair.closeDaemonEnd(); // a read would not wait
    _SIPD_MSG_TYPE_E type;
    ASSERT_EQ(pair.channel.recvMsgType(&type), 0);
    failingAllocation = 1;
    expectLog({channelInfo("recvMsgType", "the last message has not been deal with , clear it"),
               channelError("no memory"), channelError("read message body fail")},
              [&] { EXPECT_EQ(pair.channel.recvMsgType(&type), SIP_COMM_NO_MEMORY); });
    EXPECT_EQ(failingAllocation, 0);
    EXPECT_FALSE(pair.channel.isConnected());
}

TEST(TransferFaults, NoMemoryClosesThroughAnOverrideBeforeItIsLogged)
{
    class Teller : public TestChannel
    {
    public:
        int disconnectDaemon() override
        {
            ORMU_LOG(ORMU_LEVEL_INFO, "closing");
            return SIP_COMM_Channel::disconnectDaemon();
        }
    };
    Teller channel;
    failingAllocation = 1;
    expectLog({"{4} FaultTest.cpp\tclosing", channelError("no memory")},
              [&] { EXPECT_EQ(channel.clearReadSocket(1), SIP_COMM_NO_MEMORY); });
    EXPECT_EQ(failingAllocation, 0);
}

TEST(TransferFaults, NoMemoryForAnSdpClosesTheChannel)
{
    ChannelPair<> pair;
    pair.give(encodeStatus(std::string(264, 's'), "v=0"));
    _SIPD_MSG_TYPE_E type;
    _SIPD_MSG_STATUS_S status;
    ASSERT_EQ(pair.channel.recvMsgType(&type), 0);
    failingAllocation = 1;
    diagnosticsOf(
        [&] { EXPECT_EQ(pair.channel.recvStatusMsg(&status, nullptr, nullptr), SIP_COMM_NO_MEMORY); });
    EXPECT_EQ(failingAllocation, 0);
    EXPECT_FALSE(pair.channel.isConnected());
}

TEST(TransferFaults, ABodyOfFourGigabytesEndsWithTheConnection)
{
    ChannelPair<> pair;
    pair.give(encodeHead(0xffffffff, SIPD_MSG_ACK, 0) + "a little");
    pair.closeDaemonEnd();
    _SIPD_MSG_TYPE_E type;
    ASSERT_EQ(pair.channel.recvMsgType(&type), 0);
    const int result = pair.channel.recvMsgType(&type);
    // Not every machine has four gigabytes.
    EXPECT_TRUE(result == SIP_COMM_CLOSED || result == SIP_COMM_NO_MEMORY) << result;
    EXPECT_FALSE(pair.channel.isConnected());
}

TEST_F(Faults, OfAllocationMakeNoHandle)
{
    play("admit");
    for (const int allocation : {1, 2}) {
        auto* handle = reinterpret_cast<_SIP_COMM_PROFILE_CONTROL_S*>(this);
        failingAllocation = allocation;
        expectLog({controlerError("No memory")},
                  [&] { EXPECT_EQ(SIP_COMM_ControlerConstruct(&handle), SIP_COMM_FAILED); });
        EXPECT_EQ(failingAllocation, 0);
        EXPECT_EQ(handle, nullptr);
    }
    EXPECT_EQ(daemon().accepted(), 0);
}

TEST(RealSignals, InterruptAReadWhichContinues)
{
    ChannelPair<> pair;
    const Interruptions handler;
    const pthread_t reader = pthread_self();
    std::thread interrupter([&] {
        Interruptions::untilOneHits(reader);
        pair.give(encodeAck(0));
    });
    _SIPD_MSG_TYPE_E type = SIPD_MSG_NONE;
    const auto log = diagnosticsOf([&] { EXPECT_EQ(pair.channel.recvMsgType(&type), 0); });
    interrupter.join();
    EXPECT_EQ(type, SIPD_MSG_ACK);
    EXPECT_THAT(log, Contains(channelInfo("readSocket", "EINTR happen in read")));
}

TEST(RealSignals, InterruptAWriteWhichContinues)
{
    ChannelPair<> pair;
    const Interruptions handler;
    const pthread_t writer = pthread_self();
    // Fills the socket, so that the next write waits for room.
    const std::string filling(4096, 'f');
    while (send(pair.channel.getFd(), filling.data(), filling.size(), MSG_DONTWAIT) > 0) {
    }
    std::string received;
    std::thread interrupter([&] {
        Interruptions::untilOneHits(writer);
        while (!received.ends_with(encodeHead(0, SIPD_MSG_REGISTER, 100)))
            received += pair.taken();
    });
    const auto log = diagnosticsOf([&] { EXPECT_EQ(pair.channel.sendControlMsg(SIPD_MSG_REGISTER), 0); });
    interrupter.join();
    EXPECT_THAT(log, Contains(channelInfo("writeSocket", "EINTR happen in write")));
}
