// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef DATAGRAM_RELAY_H
#define DATAGRAM_RELAY_H

#include <atomic>
#include <chrono>
#include <deque>
#include <list>
#include <map>
#include <netinet/in.h>
#include <random>
#include <string>
#include <thread>

// A bad path over UDP to a registrar: passes requests on that arrive at a port of its own on 127.0.0.1, and
// the answers back. It runs on a thread of its own. What it does to the messages of a user depends on the
// user's name, the order of the messages and the seed only.
class DatagramRelay
{
public:
    struct Faults
    {
        unsigned int lossPercent = 0;       // of the messages in each direction
        std::chrono::milliseconds delay{0}; // of answers
        int mutants = 0;                    // malformed answers before each answer
        unsigned int seed = 1;
    };

    DatagramRelay(unsigned int registrarPort, const Faults& faults);
    ~DatagramRelay();
    DatagramRelay(const DatagramRelay&) = delete;
    DatagramRelay& operator=(const DatagramRelay&) = delete;

    unsigned int port() const { return port_; }

    // From now on it passes everything on.
    void stopFaults() { hasFaults_ = false; }
    size_t lost() const { return lost_; }
    size_t mutantsSent() const { return mutantsSent_; }

private:
    // An address from which requests have come.
    struct Client
    {
        sockaddr_in address = {};
        int registrar = -1; // a socket of its own, by which its answers come
        std::mt19937 random;
    };
    struct Answer
    {
        std::chrono::steady_clock::time_point due;
        const Client* client;
        std::string text;
    };
    using Clock = std::chrono::steady_clock;

    void run();
    int timeout() const;
    void passRequest();
    void takeAnswer(Client& client);
    void sendDueAnswers();
    Client& clientAt(const sockaddr_in& address, const std::string& request);
    bool loses(Client& client);

    const unsigned int registrarPort_;
    const Faults faults_;
    std::atomic<bool> hasFaults_ = true;
    int fd_ = -1;
    int wakeFd_ = -1;
    unsigned int port_ = 0;
    std::atomic<size_t> lost_ = 0;
    std::atomic<size_t> mutantsSent_ = 0;

    std::list<Client> clients_;
    std::map<std::string, unsigned int> clientsOf_; // by user
    std::deque<Answer> answers_;

    std::thread thread_;
};

#endif
