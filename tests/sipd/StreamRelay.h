// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef STREAM_RELAY_H
#define STREAM_RELAY_H

#include <atomic>
#include <filesystem>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct ssl_ctx_st;
struct ssl_st;

// A server of TCP or TLS at a port of its own on 127.0.0.1, and on ::1 where there is IPv6. It passes
// requests to a registrar that knows UDP only, and the answers back. Each connection has a thread of its own.
class StreamRelay
{
public:
    struct Faults
    {
        bool isBytewise = false; // each byte of an answer is a segment of its own
        int mutants = 0;         // malformed answers before each answer
    };
    struct Certificate
    {
        std::filesystem::path certificate;
        std::filesystem::path key;
    };

    // TCP.
    StreamRelay(unsigned int registrarPort, Faults faults);
    // TLS. version: the only one, as the TLS library numbers it; 0 for all that it has.
    StreamRelay(unsigned int registrarPort, const Certificate& certificate, int version = 0);
    ~StreamRelay();
    StreamRelay(const StreamRelay&) = delete;
    StreamRelay& operator=(const StreamRelay&) = delete;

    unsigned int port() const { return port_; }

    // Whether there are malformed answers from now on.
    void setMalforms(bool malforms) { malforms_ = malforms; }
    // Breaks all connections.
    void reset();
    size_t answersSent() const { return answersSent_; }
    size_t mutantsSent() const { return mutantsSent_; }
    size_t segmentsSent() const { return segmentsSent_; }

    // A finished handshake.
    struct Handshake
    {
        std::string serverName; // that the client asked for; empty when it did not
        std::string version;    // "TLSv1.3"
    };
    std::vector<Handshake> handshakes() const;

private:
    struct Connection;

    void listen();
    void acceptAll();
    void serve(Connection& connection, unsigned int seed);
    bool shakeHands(Connection& connection);
    bool passRequests(Connection& connection, int registrar, std::string& received);
    bool passAnswer(Connection& connection, int registrar, unsigned int& seed);
    bool send(const Connection& connection, const std::string& answer);

    const unsigned int registrarPort_;
    const Faults faults_;
    std::atomic<bool> malforms_ = true;
    std::shared_ptr<ssl_ctx_st> context_;
    int listener_ = -1;
    unsigned int port_ = 0;
    std::atomic<size_t> answersSent_ = 0;
    std::atomic<size_t> mutantsSent_ = 0;
    std::atomic<size_t> segmentsSent_ = 0;

    mutable std::mutex mutex_; // of what follows
    std::vector<Handshake> handshakes_;
    std::list<Connection> connections_;
    bool isStopping_ = false;

    std::thread thread_;
};

#endif
