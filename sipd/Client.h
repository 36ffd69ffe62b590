// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef CLIENT_H
#define CLIENT_H

#include "EventLoop.h"
#include "MessageReader.h"
#include "Registrations.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>

class Client;

// The services that a client's connection uses.
class ClientServices
{
public:
    virtual ~ClientServices() = default;

    virtual EventLoop& loop() = 0;
    virtual Registrations& registrations() = 0;
    // Whether the client may make requests. Logs a refusal.
    virtual bool admits(const Client& client) = 0;
    // A client has closed: it can be deleted between two steps of the loop.
    virtual void handleClosed() = 0;
};

// One client's connection. It reads no request while the client does not read its answers, so that no bytes
// pile up here.
class Client : public RequestObserver
{
public:
    enum class State { Unregistered, Admitted };

    // Takes fd, which must be non-blocking. isForeign: the process of another user.
    Client(ClientServices& services, int fd, bool isForeign);
    ~Client() override;
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void acknowledge(_SIPD_APP_ACK_E ack) override;

    bool isForeign() const { return isForeign_; }
    State state() const { return state_; }
    bool isClosed() const { return isClosed_; }

    // Closes the connection for good, and cancels its request.
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

    ClientServices& services_;
    const FileDescriptor fd_;
    const bool isForeign_;
    State state_ = State::Unregistered;
    bool isWaiting_ = false; // a request has no ack yet
    bool isClosed_ = false;

    MessageReader reader_;
    std::array<uint8_t, 1024> received_;
    std::span<const uint8_t> unread_; // the rest of received_
    std::string unsent_;              // two answers at most
    FdWatch watch_;
};

#endif
