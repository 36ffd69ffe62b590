// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Sends arbitrary bytes to the receiving side of the link over a socket pair.
//
// An input is one byte (the number of calls), one byte for each call (its choice), and the bytes that the
// daemon sends before it closes. After the calls the rest is received in order.

#include "Require.h"
#include "SIP_COMM_Controler.h"
#include "TestChannel.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

// A socket takes this much without a reader.
constexpr size_t longestStream = 64UL * 1024;
constexpr size_t mostMemory = 16UL * 1024 * 1024;

class Session
{
public:
    Session(const uint8_t* bytes, size_t size) : stream(bytes, bytes + std::min(size, longestStream))
    {
        int ends[2];
        require(socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0);
        daemonEnd = ends[1];
        channel.setFd(ends[0]);
        require(write(daemonEnd, stream.data(), stream.size()) == static_cast<ssize_t>(stream.size()));
        require(shutdown(daemonEnd, SHUT_WR) == 0);
    }

    ~Session() { close(daemonEnd); }

    void call(uint8_t choice)
    {
        static constexpr void (Session::*calls[])() = {
            &Session::receiveHead,         &Session::receiveAck,    &Session::receiveProfile,
            &Session::receiveStatusAndSdp, &Session::receiveStatus, &Session::getAck,
            &Session::getProfileStatus,    &Session::getProfileName};
        (this->*calls[choice % std::size(calls)])();
    }

    // Ends when the stream does.
    void receiveTheRest()
    {
        while (channel.isConnected()) {
            receiveHead();
            switch (channel.pendingMessageType()) {
            case SIPD_MSG_ACK:
                receiveAck();
                break;
            case SIPD_MSG_PROFILE:
                receiveProfile();
                break;
            case SIPD_MSG_STATUS:
                receiveStatusAndSdp();
                break;
            default:
                break;
            }
        }
    }

private:
    // The bytes of the stream that the call has read; null when it failed.
    const char* lastBytes(int result, size_t count)
    {
        require(result == 0 || result == 1 || result == 2 || result == 3 || result == 5);
        require(result <= 1 || !channel.isConnected());
        if (result != 0)
            return nullptr;
        int unread = 0;
        require(ioctl(channel.getFd(), FIONREAD, &unread) == 0);
        const size_t position = stream.size() - static_cast<size_t>(unread);
        require(position >= count);
        return stream.data() + position - count;
    }

    void receiveHead()
    {
        _SIPD_MSG_TYPE_E type = SIPD_MSG_ACK;
        const char* const read = lastBytes(channel.recvMsgType(&type), sizeof(_SIPD_MSG_HEAD_S));
        if (read == nullptr) {
            require(type == SIPD_MSG_NONE);
            return;
        }
        require(type == channel.pendingMessageType());
        const _SIPD_MSG_HEAD_S head = {channel.pendingBodyLength(), type, SIPD_APPID_SETUP};
        require(std::memcmp(read, &head, 8) == 0);
    }

    void receiveAck()
    {
        _SIPD_APP_ACK_E ack = SIPD_ACK_SUCCESS;
        const char* const read = lastBytes(channel.recvAckMsg(&ack), sizeof(ack));
        require(read == nullptr || std::memcmp(read, &ack, sizeof(ack)) == 0);
    }

    void receiveProfile()
    {
        _SIPD_MSG_PROFILE_S profile;
        const char* const read = lastBytes(channel.recvProfileMsg(&profile), sizeof(profile));
        require(read == nullptr || std::memcmp(read, &profile, sizeof(profile)) == 0);
    }

    void receiveStatusAndSdp()
    {
        _SIPD_MSG_STATUS_S status;
        char sdp[SIPD_SDP_MAX];
        unsigned int sdpLen = 0;
        const int result = channel.recvStatusMsg(&status, sdp, &sdpLen);
        const char* const read = lastBytes(result, sdpLen);
        require(sdpLen <= SIPD_SDP_MAX);
        require(read == nullptr || std::memcmp(read, sdp, sdpLen) == 0);
    }

    void receiveStatus()
    {
        _SIPD_MSG_STATUS_S status;
        lastBytes(channel.recvStatusMsg(&status, nullptr, nullptr), sizeof(status));
    }

    void getAck()
    {
        handle.waitAck = 1;
        const bool wasConnected = handle.connected != 0;
        _SIPD_APP_ACK_E ack = SIPD_ACK_SUCCESS;
        const int result = SIP_COMM_ControlerGetAck(&handle, &ack);
        require(handle.waitAck == (wasConnected ? 0 : 1));
        checkExchange(result);
    }

    void getProfileStatus()
    {
        _SIPD_PROFILE_STATUS_E status = {};
        checkExchange(SIP_COMM_ControlerGetProfileStatus(&handle, "Profile0", &status));
    }

    void getProfileName()
    {
        char name[SIPD_PROFILE_NAME_MAX + 1];
        const int size = sizeof(name);
        checkExchange(SIP_COMM_ControlerGetProfileName(&handle, SIPD_APPID_SETUP, name, size));
        require(name[SIPD_PROFILE_NAME_MAX] == '\0');
    }

    void checkExchange(int result)
    {
        require((result == 0) == (handle.connected != 0));
        require(handle.connected != 0 || !channel.isConnected());
    }

    const std::vector<char> stream;
    int daemonEnd = -1;
    TestChannel channel;
    _SIP_COMM_PROFILE_CONTROL_S handle = {&channel, 1, 1};
};

} // namespace

// The memory of a phone: no gigabytes that a header announces.
void* operator new[](size_t size, const std::nothrow_t&) noexcept
{
    return size > mostMemory ? nullptr : ::operator new[](size);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const size_t calls = std::min<size_t>(data[0], size - 1);
    Session session(data + 1 + calls, size - 1 - calls);
    for (size_t i = 0; i < calls; ++i)
        session.call(data[1 + i]);
    session.receiveTheRest();
    return 0;
}
