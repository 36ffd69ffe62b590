// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "DatagramRelay.h"

#include "Mutation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

sockaddr_in loopback(unsigned int port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

std::string userOf(const std::string& request)
{
    const size_t start = request.find("sip:", request.find("To:"));
    return start == std::string::npos ? "" : request.substr(start, request.find('@', start) - start);
}

// An empty text when there is none.
std::string receiveFrom(int fd, sockaddr_in& from)
{
    std::array<char, 65536> buffer;
    socklen_t size = sizeof(from);
    const ssize_t count =
        recvfrom(fd, buffer.data(), buffer.size(), MSG_DONTWAIT, reinterpret_cast<sockaddr*>(&from), &size);
    return {buffer.data(), static_cast<size_t>(std::max<ssize_t>(count, 0))};
}

} // namespace

DatagramRelay::DatagramRelay(unsigned int registrarPort, const Faults& faults)
    : registrarPort_(registrarPort), faults_(faults), fd_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)),
      wakeFd_(eventfd(0, EFD_CLOEXEC))
{
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof(address);
    EXPECT_EQ(bind(fd_, reinterpret_cast<sockaddr*>(&address), size), 0);
    getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { run(); });
}

DatagramRelay::~DatagramRelay()
{
    eventfd_write(wakeFd_, 1);
    thread_.join();
    for (const Client& client : clients_)
        close(client.registrar);
    close(wakeFd_);
    close(fd_);
}

void DatagramRelay::run()
{
    for (;;) {
        std::vector<pollfd> ready = {{wakeFd_, POLLIN, 0}, {fd_, POLLIN, 0}};
        for (const Client& client : clients_)
            ready.push_back({client.registrar, POLLIN, 0});
        poll(ready.data(), ready.size(), timeout());
        if (ready[0].revents != 0)
            return;
        size_t i = 2;
        for (Client& client : clients_) {
            if (ready[i++].revents != 0)
                takeAnswer(client);
        }
        if (ready[1].revents != 0)
            passRequest();
        sendDueAnswers();
    }
}

// In milliseconds, for poll().
int DatagramRelay::timeout() const
{
    if (answers_.empty())
        return -1;
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(answers_.front().due - Clock::now()).count();
    return static_cast<int>(std::max<long>(left, 0));
}

void DatagramRelay::passRequest()
{
    sockaddr_in from = {};
    const std::string request = receiveFrom(fd_, from);
    if (request.empty())
        return;
    Client& client = clientAt(from, request);
    if (!loses(client))
        send(client.registrar, request.data(), request.size(), 0);
}

DatagramRelay::Client& DatagramRelay::clientAt(const sockaddr_in& address, const std::string& request)
{
    const auto known = std::find_if(clients_.begin(), clients_.end(), [&address](const Client& client) {
        return client.address.sin_port == address.sin_port;
    });
    if (known != clients_.end())
        return *known;
    Client& client = clients_.emplace_back();
    client.address = address;
    client.registrar = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_in registrar = loopback(registrarPort_);
    EXPECT_EQ(connect(client.registrar, reinterpret_cast<const sockaddr*>(&registrar), sizeof(registrar)), 0);
    const std::string user = userOf(request);
    std::seed_seq seed{faults_.seed, ++clientsOf_[user],
                       static_cast<unsigned int>(user.empty() ? 0 : user.back())};
    client.random.seed(seed);
    return client;
}

bool DatagramRelay::loses(Client& client)
{
    const bool isLost = hasFaults_ && client.random() % 100 < faults_.lossPercent;
    lost_ += isLost ? 1U : 0U;
    return isLost;
}

void DatagramRelay::takeAnswer(Client& client)
{
    sockaddr_in from = {};
    const std::string answer = receiveFrom(client.registrar, from);
    if (answer.empty() || loses(client))
        return;
    const auto due = Clock::now() + (hasFaults_ ? faults_.delay : std::chrono::milliseconds(0));
    for (int i = 0; i < faults_.mutants && hasFaults_; ++i) {
        ++mutantsSent_;
        answers_.push_back({due, &client, mutated(answer, client.random)});
    }
    answers_.push_back({due, &client, answer});
}

void DatagramRelay::sendDueAnswers()
{
    while (!answers_.empty() && answers_.front().due <= Clock::now()) {
        const Answer& answer = answers_.front();
        sendto(fd_, answer.text.data(), answer.text.size(), 0,
               reinterpret_cast<const sockaddr*>(&answer.client->address), sizeof(sockaddr_in));
        answers_.pop_front();
    }
}
