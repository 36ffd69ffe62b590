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

// A SIP daemon that plays a scenario on the daemon's socket, for any number of clients, on a thread of its
// own, and records all that it receives. What it has recorded can be asked for from any thread, also after
// stop().
class ScriptedDaemon
{
public:
    using Listener = std::function<void(int client, const SipdMessage&)>;

    // onMessage, when given, is told of each message, on the daemon's thread, before it is answered. Clients
    // are numbered from 1.
    explicit ScriptedDaemon(const Scenario& scenario, Listener onMessage = nullptr);
    ~ScriptedDaemon(); // stops
    ScriptedDaemon(const ScriptedDaemon&) = delete;
    ScriptedDaemon& operator=(const ScriptedDaemon&) = delete;

    // Listens when this returns. Empty, or what stands in the way in words: a socket that another daemon
    // listens on is left alone, one that nobody listens on is replaced.
    std::string start();
    // Closes every connection and removes the socket.
    void stop();

    // Sends bytes, as the scenario sends, to the client that came last of those that are there, or to the
    // next one.
    void send(const std::string& bytes);

    std::string received() const; // from all clients, as it came in
    std::vector<SipdMessage> messages() const;
    std::vector<_SIPD_MSG_PROFILE_S> requests() const; // the profile messages among them
    int accepted() const;
    int closed() const; // connections that have ended, whoever ended them

    // Each waits until there are at least so many; false when that takes longer than ten seconds.
    bool waitForBytes(size_t count) const;
    bool waitForRequests(size_t count) const;
    bool waitForClosed(int count) const;

private:
    using Clock = std::chrono::steady_clock;

    struct Client
    {
        int fd = -1;
        std::string in;  // received, and not yet a whole message
        std::string out; // to be sent
        size_t sent = 0;
        bool admitted = false;
    };

    // A request to be acknowledged.
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

    // The daemon thread's own.
    int listenFd = -1;
    int wakeFd = -1;
    std::map<int, Client> clients;
    std::multimap<Clock::time_point, Due> dues;
    size_t acksTaken = 0; // of those in turn
    std::set<std::string> connectedProfiles;
    std::map<uint32_t, std::string> nameOfApplication;

    // Shared, under the mutex.
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
