// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Lookups of names and services, the latter at a name server of the test.

#include "Resolver.h"
#include "OwnNetwork.h"

#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

RegistrarAddress registrar(const std::string& host, uint16_t port = 5070)
{
    return *parseRegistrarAddress(host, port);
}

// Each address with its port and transport; UDP is not named.
std::string textOf(const std::vector<ServerAddress>& addresses)
{
    std::string text;
    for (const ServerAddress& address : addresses)
        text +=
            address.uriHost() + ':' + std::to_string(address.port()) +
            (address.transport() == Transport::Udp ? " " : nameOf(address.transport()) + std::string(" "));
    return text;
}

// The addresses of the name.
std::string resolved(const RegistrarAddress& address)
{
    EventLoop loop;
    Resolver resolver(loop);
    std::string result = "nothing yet";
    const auto lookup = resolver.resolve(
        address, [&result](const std::vector<ServerAddress>& found) { result = textOf(found); });
    EXPECT_EQ(result, "nothing yet") << "it may not call at once";
    while (result == "nothing yet")
        loop.step();
    EXPECT_FALSE(resolver.isBusy()) << "it has nothing left to look for";
    return result;
}

// A test that holds it delays all answers.
std::mutex answering;

// A DNS server on port 53 of the loopback. It answers with the records that it has of a name and a type, in
// the form that they have in a message, and otherwise that there is no such name.
class NameServer
{
public:
    using Records = std::map<std::pair<std::string, int>, std::vector<std::string>>;

    explicit NameServer(Records records) : records_(std::move(records))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(53);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        isBound_ = bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
        std::thread([this] { serve(); }).detach();
    }
    bool isBound() const { return isBound_; }

private:
    [[noreturn]] void serve() const
    {
        for (;;) {
            std::array<char, 512> query{};
            sockaddr_in from = {};
            socklen_t size = sizeof(from);
            const ssize_t length =
                recvfrom(fd_, query.data(), query.size(), 0, reinterpret_cast<sockaddr*>(&from), &size);
            const std::lock_guard lock(answering);
            const std::string answer =
                answerTo({query.data(), static_cast<size_t>(std::max<ssize_t>(length, 0))});
            sendto(fd_, answer.data(), answer.size(), 0, reinterpret_cast<sockaddr*>(&from), size);
        }
    }

    std::string answerTo(const std::string& query) const
    {
        constexpr size_t headSize = 12;
        std::string name;
        size_t i = headSize;
        while (i < query.size() && query[i] != '\0') {
            name += query.substr(i + 1, static_cast<size_t>(query[i])) + '.';
            i += static_cast<size_t>(query[i]) + 1;
        }
        const std::string question = query.substr(headSize, i + 5 - headSize);
        const auto found = records_.find({name, query[i + 2]});
        const size_t count = found == records_.end() ? 0 : found->second.size();
        std::string answer = query.substr(0, 2) + '\x81' + (count == 0 ? '\x83' : '\x80') +
                             std::string{0, 1, 0, static_cast<char>(count), 0, 0, 0, 0} + question;
        for (size_t record = 0; record < count; ++record) {
            const std::string& data = found->second[record];
            answer += std::string{'\xc0', headSize, 0, query[i + 2], 0, 1, 0, 0, 0, 60, 0} +
                      static_cast<char>(data.size()) + data;
        }
        return answer;
    }

    const Records records_;
    const int fd_ = socket(AF_INET, SOCK_DGRAM, 0);
    bool isBound_ = false;
};

constexpr int A = 1;
constexpr int SRV = 33;
constexpr int NAPTR = 35;

std::string service(char priority, char weight, int port, const std::string& label)
{
    return std::string{0, priority, 0, weight, static_cast<char>(port >> 8), static_cast<char>(port)} +
           static_cast<char>(label.size()) + label + '\x07' + "example" + '\0';
}

std::string text(const std::string& content)
{
    return static_cast<char>(content.size()) + content;
}

// A NAPTR record that leads to the SRV records of "_sip.LABEL.example.".
std::string naming(char order, char preference, const std::string& protocol, const std::string& label,
                   const std::string& flags = "s")
{
    return std::string{0, order, 0, preference} + text(flags) + text(protocol) + text("") + text("_sip") +
           text(label) + text("example") + '\0';
}

// Runs the check in a child with a network of its own and this name server.
void checkWithNameServer(const NameServer::Records& records, const std::function<void()>& check)
{
    const std::string path = testing::TempDir() + "resolv.conf." + std::to_string(getpid());
    std::ofstream(path) << "nameserver 127.0.0.1\n";
    checkInOwnNetwork({.file = path, .place = "/etc/resolv.conf"}, [&] {
        static NameServer* const server = new NameServer(records); // its thread stays until the end
        check();
        return server->isBound();
    });
    unlink(path.c_str());
}

} // namespace

TEST(Resolver, FindsTheNamesOfThisMachine)
{
    EXPECT_NE(resolved(registrar("localhost")).find("127.0.0.1:5070 "), std::string::npos);
}

TEST(Resolver, FindsNothingForAnUnknownName)
{
    EXPECT_EQ(resolved(registrar("no-such-name.invalid")), "");
}

TEST(Resolver, CallsNobodyForADroppedHandle)
{
    EventLoop loop;
    Resolver resolver(loop);
    bool isCalled = false;
    auto dropped =
        resolver.resolve(registrar("localhost"), [&](const std::vector<ServerAddress>&) { isCalled = true; });
    dropped.reset();
    bool isDone = false;
    const auto kept =
        resolver.resolve(registrar("localhost"), [&](const std::vector<ServerAddress>&) { isDone = true; });
    while (!isDone || resolver.isBusy())
        loop.step();
    EXPECT_FALSE(isCalled);
}

TEST(Resolver, FindsTheServersOfADomainBestFirst)
{
    const NameServer::Records records = {
        {{"_sip._udp.example.", SRV},
         {service(20, 0, 5063, "c"), service(10, 1, 5062, "b"), service(10, 9, 5061, "a")}},
        {{"_sip._tcp.example.", SRV}, {service(0, 0, 5081, "a")}},
        {{"_sips._tcp.example.", SRV}, {service(0, 0, 5091, "b")}},
        {{"_sip._udp.port-zero.example.", SRV}, {service(0, 0, 0, "a")}},
        {{"_sip._udp.no-service.example.", SRV}, {std::string(7, '\0')}},
        {{"a.example.", A}, {std::string{10, 0, 0, 1}}},
        {{"b.example.", A}, {std::string{10, 0, 0, 2}, std::string{10, 0, 0, 3}}},
        {{"c.example.", A}, {std::string{10, 0, 0, 4}}},
        {{"sip.example.", A}, {std::string{10, 0, 0, 9}}},
        {{"port-zero.example.", A}, {std::string{10, 0, 0, 6}}},
        {{"no-service.example.", A}, {std::string{10, 0, 0, 7}}},
        {{"example.", A}, {std::string{10, 0, 0, 8}}}};
    checkWithNameServer(records, [] {
        // A domain, which has a dot.
        EXPECT_EQ(resolved(registrar("example.", 5060)),
                  "10.0.0.1:5061 10.0.0.2:5062 10.0.0.3:5062 10.0.0.4:5063 ");
        EXPECT_EQ(resolved(registrar("example.;transport=tcp", 5060)), "10.0.0.1:5081tcp ");
        EXPECT_EQ(resolved(registrar("example.;transport=tls", 5060)), "10.0.0.2:5091tls 10.0.0.3:5091tls ");
        EXPECT_EQ(resolved(registrar("example.", 5070)), "10.0.0.8:5070 ") << "a port that somebody chose";
        EXPECT_EQ(resolved(registrar("example.:5060", 5070)), "10.0.0.8:5060 ");
        EXPECT_EQ(resolved(registrar("sip.example", 5060)), "10.0.0.9:5060 ") << "it names no servers";
        EXPECT_EQ(resolved(registrar("other.example", 5060)), "");
        EXPECT_EQ(resolved(registrar("port-zero.example", 5060)), "10.0.0.6:5060 ") << "no port is 0";
        EXPECT_EQ(resolved(registrar("no-service.example", 5060)), "") << "it says that it has none";
    });
}

TEST(Resolver, FindsTheOnlyTransportOfADomain)
{
    const NameServer::Records records = {{{"_sip._tcp.tcp.example.", SRV}, {service(0, 0, 5081, "a")}},
                                         {{"_sips._tcp.tls.example.", SRV}, {service(0, 0, 5091, "b")}},
                                         {{"_sip._udp.no-udp.example.", SRV}, {std::string(7, '\0')}},
                                         {{"_sip._tcp.no-udp.example.", SRV}, {service(0, 0, 5082, "a")}},
                                         {{"a.example.", A}, {std::string{10, 0, 0, 1}}},
                                         {{"b.example.", A}, {std::string{10, 0, 0, 2}}},
                                         {{"tcp.example.", A}, {std::string{10, 0, 0, 8}}},
                                         {{"tls.example.", A}, {std::string{10, 0, 0, 9}}}};
    checkWithNameServer(records, [] {
        EXPECT_EQ(resolved(registrar("tcp.example", 5060)), "10.0.0.1:5081tcp ");
        EXPECT_EQ(resolved(registrar("tls.example", 5060)), "10.0.0.2:5091tls ");
        EXPECT_EQ(resolved(registrar("no-udp.example", 5060)), "10.0.0.1:5082tcp ")
            << "it says it has no UDP";
        EXPECT_EQ(resolved(registrar("tcp.example;transport=udp", 5060)), "10.0.0.8:5060 ") << "chosen";
        EXPECT_EQ(resolved(registrar("tcp.example;transport=tls", 5060)), "10.0.0.8:5061tls ")
            << "nothing weaker than what was asked for";
        EXPECT_EQ(resolved(registrar("tls.example;transport=tcp", 5060)), "10.0.0.9:5060tcp ");
    });
}

TEST(Resolver, FollowsTheTransportsThatADomainPrefers)
{
    const NameServer::Records records = {
        {{"example.", NAPTR},
         {naming(20, 1, "SIP+D2U", "u"), naming(10, 2, "sip+d2t", "t"), naming(10, 1, "SIPS+D2T", "s"),
          naming(1, 1, "SIP+D2S", "u"), naming(1, 1, "E2U+sip", "u", "u")}},
        {{"_sip.u.example.", SRV}, {service(0, 0, 5061, "a"), service(1, 0, 5062, "b")}},
        {{"_sip.t.example.", SRV}, {service(0, 0, 5071, "a"), service(1, 0, 5072, "b")}},
        {{"_sip.s.example.", SRV}, {service(0, 0, 5081, "a"), service(1, 0, 5082, "b")}},
        {{"_sip._udp.example.", SRV}, {service(0, 0, 5099, "a")}},
        {{"broken.example.", NAPTR}, {naming(1, 1, "SIP+D2T", "nowhere"), "\1"}},
        {{"broken.example.", A}, {std::string{10, 0, 0, 9}}},
        {{"a.example.", A}, {std::string{10, 0, 0, 1}}},
        {{"b.example.", A}, {std::string{10, 0, 0, 2}}},
        {{"example.", A}, {std::string{10, 0, 0, 8}}}};
    checkWithNameServer(records, [] {
        EXPECT_EQ(resolved(registrar("example.", 5060)),
                  "10.0.0.1:5081tls 10.0.0.2:5082tls 10.0.0.1:5071tcp 10.0.0.1:5061 ")
            << "the best one with all its servers";
        EXPECT_EQ(resolved(registrar("example.;transport=udp", 5060)), "10.0.0.1:5099 ") << "chosen";
        EXPECT_EQ(resolved(registrar("example.", 5070)), "10.0.0.8:5070 ") << "a port that somebody chose";
        EXPECT_EQ(resolved(registrar("broken.example", 5060)), "10.0.0.9:5060 ");
    });
}

TEST(Resolver, MakesLookupsWaitForAThread)
{
    const NameServer::Records records = {{{"sip.example.", A}, {std::string{10, 0, 0, 9}}}};
    checkWithNameServer(records, [] {
        EventLoop loop;
        Resolver resolver(loop);
        constexpr int many = 40;
        std::vector<Resolver::LookupHandle> handles;
        int answered = 0;
        int found = 0;
        const auto count = [&](const std::vector<ServerAddress>& addresses) {
            ++answered;
            found += addresses.empty() ? 0 : 1;
        };
        {
            const std::lock_guard lock(answering);
            for (int i = 0; i < many; ++i)
                handles.push_back(resolver.resolve(registrar("sip.example"), count));
            handles[many - 2].reset();
        }
        while (answered < many - 1)
            loop.step();
        EXPECT_EQ(found, many - 1) << "all but the dropped one";
    });
}
