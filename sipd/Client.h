#ifndef CLIENT_H
#define CLIENT_H

#include "EventLoop.h"
#include "MessageReader.h"
#include "Registration.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>

class Server;

// One client's connection. What it sends is not read while it does not read its answers, so that neither
// side's bytes ever pile up here.
class Client : public RequestObserver
{
public:
    enum class State { Unregistered, Admitted };

    // Owns fd, which is non-blocking.
    Client(Server& server, int fd, bool isForeign);
    ~Client() override;
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void acknowledge(_SIPD_APP_ACK_E ack) override;

    bool isForeign() const { return isForeign_; }
    State state() const { return state_; }
    bool isClosed() const { return isClosed_; }

    // Ends the connection, and cancels what it waits for. The object is of no use any more.
    void close();

private:
    void handleReady();
    void receive();
    void handleUnread();
    void handleMessage(const MessageReader::Message& message);
    void handleRegister();
    void handleProfile(const _SIPD_MSG_PROFILE_S& request);
    void handleRequest(const _SIPD_MSG_PROFILE_S& request);
    template <class Body>
    void send(_SIPD_MSG_TYPE_E type, const Body& body);
    void flush();

    Server& server_;
    const OwnedFd fd_;
    const bool isForeign_;
    State state_ = State::Unregistered;
    bool isWaiting_ = false; // for the ack of a request
    bool isClosed_ = false;

    MessageReader reader_;
    std::array<uint8_t, 1024> received_;
    std::span<const uint8_t> unread_; // of that
    std::string unsent_;              // two answers at most
    FdWatch watch_;
};

#endif
