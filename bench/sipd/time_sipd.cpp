// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// time_sipd: what the daemon costs, against floors measured in the same run.
//
//   status   round trips against a bare echo server on epoll with messages of the same sizes
//   wait     how long a status takes while nine profiles wait on silent servers
//   connect  from request to ack, against the same exchange made bare with the SIP stack

#include "SipdProcess.h"
#include "TestRegistrar.h"
#include "bareRegister.h"
#include "echoServer.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr size_t MESSAGE_SIZE = 152;
constexpr int PAIRS = 15;

double medianOf(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// A connection to either server that is ready for status queries.
int connectTo(const char* path)
{
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof(address.sun_path) - 1);
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        std::perror(path);
        std::exit(1);
    }
    return fd;
}

void exchange(int fd, const std::string& question)
{
    char answer[MESSAGE_SIZE];
    if (send(fd, question.data(), question.size(), MSG_NOSIGNAL) != MESSAGE_SIZE ||
        recv(fd, answer, sizeof(answer), MSG_WAITALL) != MESSAGE_SIZE)
        std::exit(1);
}

class Clients
{
public:
    Clients(const char* path, int count, bool introduce)
    {
        for (int i = 0; i < count; ++i) {
            const int fd = connectTo(path);
            fds_.push_back({fd, POLLIN, 0});
            char ack[16];
            const std::string introduction = SipdClient::registerMessage();
            if (introduce && (send(fd, introduction.data(), introduction.size(), 0) < 0 ||
                              recv(fd, ack, sizeof(ack), MSG_WAITALL) != sizeof(ack)))
                std::exit(1);
        }
    }
    ~Clients()
    {
        for (const pollfd& fd : fds_)
            close(fd.fd);
    }

    // All of them ask, and each that is answered asks again. Round trips in a second.
    double rate(int roundTrips)
    {
        const auto start = Clock::now();
        if (fds_.size() == 1) {
            for (int i = 0; i < roundTrips; ++i)
                exchange(fds_.front().fd, question_);
        } else {
            askAllAtOnce(roundTrips);
        }
        return roundTrips / std::chrono::duration<double>(Clock::now() - start).count();
    }

private:
    void askAllAtOnce(int roundTrips)
    {
        int asked = 0;
        int answered = 0;
        for (const pollfd& fd : fds_)
            asked += send(fd.fd, question_.data(), question_.size(), 0) == MESSAGE_SIZE ? 1 : 0;
        while (answered < asked) {
            poll(fds_.data(), fds_.size(), -1);
            for (const pollfd& fd : fds_) {
                char answer[MESSAGE_SIZE];
                if ((fd.revents & POLLIN) == 0)
                    continue;
                if (recv(fd.fd, answer, sizeof(answer), MSG_WAITALL) != MESSAGE_SIZE)
                    std::exit(1);
                ++answered;
                if (asked < roundTrips)
                    asked += send(fd.fd, question_.data(), question_.size(), 0) == MESSAGE_SIZE ? 1 : 0;
            }
        }
    }

    const std::string question_ = SipdClient::profileMessage(PROFILE_CTRL_GET_STATUS, "Profile0");
    std::vector<pollfd> fds_;
};

class Bench : public SipdTest
{
protected:
    void measureStatus(int count, const EchoServer& echo)
    {
        Clients bare(echo.path(), count, false);
        Clients asking(SIPD_SOCKET_PATH, count, true);
        constexpr int roundTrips = 20'000;
        std::vector<double> ratios, bareRates, rates;
        for (int i = 0; i < PAIRS; ++i) {
            // Neither is always the first.
            const double first = (i % 2 == 0 ? bare : asking).rate(roundTrips);
            const double second = (i % 2 == 0 ? asking : bare).rate(roundTrips);
            bareRates.push_back(i % 2 == 0 ? first : second);
            rates.push_back(i % 2 == 0 ? second : first);
            ratios.push_back(rates.back() / bareRates.back());
        }
        std::printf("status, %3d client%s: bare %.0f/s, sipd %.0f/s, median ratio of %d pairs %.2f "
                    "(at least 0.7)\n",
                    count, count == 1 ? " " : "s", medianOf(bareRates), medianOf(rates), PAIRS,
                    medianOf(ratios));
    }
};

} // namespace

TEST_F(Bench, StatusRoundTrips)
{
    const EchoServer echo(directory().toStdString() + "/echo", MESSAGE_SIZE);
    startDaemon();
    measureStatus(1, echo);
    measureStatus(100, echo);
    stopDaemon();
}

TEST_F(Bench, StatusWhileNineWait)
{
    TestRegistrar silent;
    silent.setAnswer(0);
    startDaemon();
    std::vector<SipdClient> waiting(9);
    for (size_t i = 0; i < waiting.size(); ++i) {
        const std::string group = "Profile" + std::to_string(i);
        writeProfile(group, {.port = silent.port()});
        waiting[i].introduce();
        waiting[i].send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, group));
    }
    SipdClient client;
    client.introduce();
    std::vector<double> times;
    const auto end = Clock::now() + std::chrono::seconds(7);
    for (uint32_t i = 0; Clock::now() < end; ++i) {
        const auto start = Clock::now();
        if (client.status("Profile" + std::to_string(i % 9)) != 1)
            std::exit(1);
        times.push_back(Microseconds(Clock::now() - start).count());
        usleep(200);
    }
    std::sort(times.begin(), times.end());
    std::printf("status while nine wait: p50 %.0f us, p99 %.0f us of %zu (at most 2000)\n",
                times[times.size() / 2], times[times.size() * 99 / 100], times.size());
}

TEST_F(Bench, Connect)
{
    TestRegistrar registrar;
    registrar.setAccount({"anna", "secret", {"MD5"}, "realm"});
    writeProfile("Profile0", {.port = registrar.port()});
    startDaemon();
    SipdClient client;
    client.introduce();
    BareRegister bare(registrar.port());
    std::vector<double> ratios, bareTimes, times;
    constexpr int rounds = 501;
    for (int i = 0; i < rounds; ++i) {
        bareTimes.push_back(Microseconds(bare.run()).count());
        const auto start = Clock::now();
        if (client.request(PROFILE_CTRL_CONNECT, "Profile0") != SIPD_ACK_SUCCESS)
            std::exit(1);
        times.push_back(Microseconds(Clock::now() - start).count());
        client.request(PROFILE_CTRL_DISCONNECT, "Profile0");
        ratios.push_back(times.back() / bareTimes.back());
    }
    std::printf("connect: bare %.0f us, sipd %.0f us, median ratio of %d pairs %.2f (at most 1.5)\n",
                medianOf(bareTimes), medianOf(times), rounds, medianOf(ratios));
    stopDaemon();
}
