// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// An attempt over TCP, at a registrar that the test plays itself.

#include "LateAnswers.h"
#include "RegisterAttempt.h"
#include "VirtualNetwork.h"

#include <arpa/inet.h>
#include <array>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using namespace std::chrono_literals;

namespace {

class ConnectionTest : public testing::Test
{
protected:
    ConnectionTest()
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        EXPECT_EQ(bind(listener.get(), reinterpret_cast<sockaddr*>(&address), size), 0);
        EXPECT_EQ(listen(listener.get(), 1), 0);
        getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &size);
        port = ntohs(address.sin_port);
        attempt = std::make_unique<RegisterAttempt>(
            loop, clock, settings,
            SipProfile{*parseRegistrarAddress("127.0.0.1;transport=tcp", port), "anna", "secret"}, late,
            [this](const Outcome& ended) { outcome = ended.ack; });
        EXPECT_EQ(attempt->registerAt(*ServerAddress::parse("127.0.0.1", port, Transport::Tcp), 8s, {}),
                  SIPD_ACK_SUCCESS);
    }

    void step()
    {
        loop.wake();
        loop.step();
    }
    void acceptConnection()
    {
        connection = FileDescriptor();
        while (!connection.isOpen()) {
            step();
            connection = FileDescriptor(accept4(listener.get(), nullptr, nullptr, SOCK_NONBLOCK));
        }
    }
    // The next request on the connection.
    std::string request()
    {
        std::string text;
        while (text.find("\r\n\r\n") == std::string::npos) {
            step();
            std::array<char, 4096> bytes{};
            const ssize_t count = recv(connection.get(), bytes.data(), bytes.size(), 0);
            text.append(bytes.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
        }
        return text;
    }
    // Accepts it. The parameters go to the Via.
    void accept(const std::string& request, const std::string& parameters = {}) const
    {
        std::string answer = "SIP/2.0 200 OK\r\n";
        for (const char* name : {"Via", "From", "To", "Call-ID", "CSeq", "Contact"}) {
            const size_t start = request.find(std::string("\r\n") + name + ": ") + 2;
            answer += request.substr(start, request.find("\r\n", start) - start) +
                      (name == std::string("Via") ? parameters : "") + "\r\n";
        }
        answer += "Content-Length: 0\r\n\r\n";
        EXPECT_EQ(send(connection.get(), answer.data(), answer.size(), 0),
                  static_cast<ssize_t>(answer.size()));
    }

    EventLoop loop;
    VirtualClock clock;
    SipSettings settings;
    LateAnswers late{loop};
    const FileDescriptor listener{socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0)};
    uint16_t port = 0;
    FileDescriptor connection;
    std::optional<_SIPD_APP_ACK_E> outcome;
    std::unique_ptr<RegisterAttempt> attempt;
};

} // namespace

TEST_F(ConnectionTest, RefreshesOverANewOneWhenTheServerClosesIt)
{
    acceptConnection();
    accept(request());
    while (!outcome)
        step();
    EXPECT_EQ(outcome, SIPD_ACK_SUCCESS);
    connection = FileDescriptor();
    for (int i = 0; i < 10; ++i)
        step();
    clock.advance(9s, [] {});
    EXPECT_LT(accept4(listener.get(), nullptr, nullptr, SOCK_NONBLOCK), 0) << "a server may always close it";
    clock.advance(2s, [] {});
    acceptConnection();
    EXPECT_THAT(request(), testing::HasSubstr("CSeq: 2 REGISTER"));
}

TEST_F(ConnectionTest, RegistersTheAddressThatTheServerSees)
{
    acceptConnection();
    accept(request(), ";received=203.0.113.7;rport=4711");
    const std::string moved = request();
    EXPECT_THAT(moved, testing::HasSubstr("Contact: <sip:anna@203.0.113.7:4711;transport=tcp>\r\n"));
    EXPECT_THAT(moved,
                testing::ContainsRegex("Contact: <sip:anna@127.0.0.1:[0-9]*;transport=tcp>;expires=0\r\n"));
    accept(moved, ";received=203.0.113.7;rport=4711");
    EXPECT_EQ(outcome, SIPD_ACK_SUCCESS);
    EXPECT_EQ(attempt->contact(), "sip:anna@203.0.113.7:4711;transport=tcp");
}

TEST_F(ConnectionTest, IsNotTakenForANatByItsPort)
{
    acceptConnection();
    accept(request(), ";received=127.0.0.1;rport=4711");
    while (!outcome)
        step();
    EXPECT_THAT(attempt->contact(), testing::Not(testing::HasSubstr("4711")));
    attempt->unregisterOrAbandon();
    const std::string last = request();
    EXPECT_THAT(last, testing::HasSubstr("Expires: 0\r\n"));
    accept(last);
    while (!attempt->isGone())
        step();
}
