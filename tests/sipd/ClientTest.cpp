// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// A client's connection, step by step.

#include "Client.h"
#include "Server.h"
#include "SipNetwork.h"
#include "SipdClient.h"

#include <array>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace {

size_t available(int fd)
{
    int count = 0;
    ioctl(fd, FIONREAD, &count);
    return static_cast<size_t>(count);
}

size_t readAll(int fd)
{
    std::string bytes(available(fd), '\0');
    return static_cast<size_t>(recv(fd, bytes.data(), bytes.size(), MSG_DONTWAIT));
}

// Until nothing more happens.
void step(EventLoop& loop)
{
    constexpr int steps = 10;
    for (int i = 0; i < steps; ++i) {
        loop.wake();
        loop.step();
    }
}

} // namespace

TEST(Client, IsServedWhenAnAckFindsRoomBeforeTheLoop)
{
    EventLoop loop;
    SipNetwork network(loop, {});
    KeptContacts contacts({});
    Registrations registrations({loop, loop, network, contacts});
    const FileDescriptor listening(socket(AF_UNIX, SOCK_STREAM, 0));
    Server server(loop, listening.get(), registrations);
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends.data()), 0);
    const FileDescriptor peer(ends[1]);
    Client client(server, ends[0], false);

    const std::string question = SipdClient::profileMessage(PROFILE_CTRL_GET_STATUS, "Profile0");
    std::string questions = SipdClient::registerMessage();
    constexpr size_t atOnce = 6;
    for (size_t i = 0; i < atOnce; ++i)
        questions += question;
    const size_t ack = SipdClient::registerMessage().size() + sizeof(uint32_t);
    size_t expected = ack;
    do {
        ASSERT_EQ(send(peer.get(), questions.data(), questions.size(), 0),
                  static_cast<ssize_t>(questions.size()));
        expected += atOnce * question.size();
        questions.erase(0, questions.size() - atOnce * question.size());
        step(loop);
    } while (available(peer.get()) == expected);
    size_t answered = readAll(peer.get());
    client.acknowledge(SIPD_ACK_SUCCESS);
    step(loop);
    answered += readAll(peer.get());
    EXPECT_EQ(answered, expected + ack);
}
