// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef CHANNEL_PAIR_H
#define CHANNEL_PAIR_H

#include "TestChannel.h"

#include <string>
#include <sys/socket.h>
#include <unistd.h>

// An open channel and the other end of its socket, for one thread: everything given fits into the socket.
template <class Channel = TestChannel>
class ChannelPair
{
public:
    explicit ChannelPair(_SIPD_APPID_E id = SIPD_APPID_SETUP) : channel(-1, id)
    {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
            abort();
        channel.setFd(ends[0]);
        daemonEnd = ends[1];
    }
    ~ChannelPair() { closeDaemonEnd(); }
    ChannelPair(const ChannelPair&) = delete;
    ChannelPair& operator=(const ChannelPair&) = delete;

    void give(const std::string& bytes) const
    {
        if (send(daemonEnd, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size()))
            abort();
    }

    // The bytes that the channel has sent since the last call.
    std::string taken() const
    {
        std::string bytes(64UL * 1024, '\0');
        const ssize_t count = recv(daemonEnd, bytes.data(), bytes.size(), MSG_DONTWAIT);
        bytes.resize(count > 0 ? static_cast<size_t>(count) : 0);
        return bytes;
    }

    void closeDaemonEnd()
    {
        if (daemonEnd >= 0)
            close(daemonEnd);
        daemonEnd = -1;
    }

    Channel channel;
    int daemonEnd = -1;
};

#endif
