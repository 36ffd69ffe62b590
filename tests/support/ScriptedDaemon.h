// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SCRIPTED_DAEMON_H
#define SCRIPTED_DAEMON_H

#include "Scenario.h"
#include "SipdWire.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

// A SIP daemon that plays a scenario on the daemon's socket, for any number of clients, on its own thread.
// It records everything that it receives; any thread may read the record, also after stop().
class ScriptedDaemon
{
public:
    using Listener = std::function<void(int client, const SipdMessage&)>;

    // The daemon's thread calls onMessage, unless it is null, for each message before it answers. Clients
    // are numbered from 1.
    explicit ScriptedDaemon(const Scenario& scenario, Listener onMessage = nullptr);
    ~ScriptedDaemon(); // stops
    ScriptedDaemon(const ScriptedDaemon&) = delete;
    ScriptedDaemon& operator=(const ScriptedDaemon&) = delete;

    // Starts to listen. Empty, or the reason why it cannot: a socket that another daemon listens on stays
    // as it is. A dead socket is replaced.
    std::string start();
    // Closes every connection and removes the socket.
    void stop();

    // Sends bytes, in the scenario's way, to the latest client that is connected, or to the next one.
    void send(const std::string& bytes);

    std::string received() const; // the bytes from all clients, in the order of their arrival
    std::vector<SipdMessage> messages() const;
    std::vector<_SIPD_MSG_PROFILE_S> requests() const; // the profile messages among them
    int accepted() const;
    int closed() const; // the number of connections that have ended, at either end

    // Each waits for that number or more; false after ten minutes.
    bool waitForBytes(size_t count) const;
    bool waitForRequests(size_t count) const;
    bool waitForClosed(int count) const;

private:
    using Clock = std::chrono::steady_clock;

    struct Client
    {
        int fd = -1;
        std::string in;  // the bytes of an incomplete message
        std::string out; // the bytes to send
        size_t sent = 0;
        bool admitted = false;
    };

    // A request that waits for its ack.
    struct Due
    {
        int client;
        _SIPD_MSG_PROFILE_S request;
    };

    void run();
    int pollTimeout() const;
    void acceptClient();
    bool readFrom(int id, Client& client); // these: false when the connection has ended
    bool writeTo(Client& client);
    size_t nextChunk(const Client& client) const;
    void answer(int id, Client& client, const SipdMessage& message);
    void admit(Client& client);
    void acknowledge(const Due& due);
    uint32_t nextAck(uint32_t usual);
    void answerDue();
    std::string disguise(std::string answer) const;
    _SIPD_MSG_PROFILE_S reportOf(_SIPD_MSG_PROFILE_S query) const;
    void record(int id, const SipdMessage& message);
    bool waitUntil(const std::function<bool()>& condition) const;

    const Scenario scenario;
    const Listener listener;

    // Used by the daemon's thread only.
    int listenFd = -1;
    int wakeFd = -1;
    std::map<int, Client> clients;
    std::multimap<Clock::time_point, Due> dues;
    size_t acksTaken = 0; // of acksInTurn
    std::set<std::string> connectedProfiles;
    std::map<uint32_t, std::string> nameOfApplication;

    // Shared, guarded by mutex.
    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    bool stopping = false;
    std::string toSend;
    std::string receivedBytes;
    std::vector<SipdMessage> receivedMessages;
    int acceptedCount = 0;
    int closedCount = 0;

    std::thread thread;
};

#endif
