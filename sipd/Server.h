// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SERVER_H
#define SERVER_H

#include "Client.h"
#include "EventLoop.h"
#include "Registrations.h"

#include <memory>
#include <optional>
#include <vector>

// Accepts clients on the daemon's socket and serves them.
//
// Processes of another user, and clients beyond a limit, are refused with ack 1. A client that violates the
// protocol is disconnected. No client can keep the others from being served.
class Server : public ClientServices
{
public:
    // Listens on the non-blocking fd, which it does not own.
    Server(EventLoop& loop, int fd, Registrations& registrations);
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // Listens on another fd from now on. Accepts the clients that wait at the former one first.
    void listenOn(int fd);

    // Deletes closed clients. Call it between two steps of the loop.
    void reap();

private:
    EventLoop& loop() override { return loop_; }
    Registrations& registrations() override { return registrations_; }
    bool admits(const Client& client) override;
    void handleClosed() override { hasClosedClients_ = true; }

    void watchSocket();
    bool acceptClient();
    void admitConnection(int fd);
    bool makeRoom();

    EventLoop& loop_;
    Registrations& registrations_;
    int listenFd_;
    std::optional<FileDescriptor> spareFd_; // closed to accept and drop a client when descriptors run out
    std::vector<std::unique_ptr<Client>> clients_; // the oldest first
    bool hasClosedClients_ = false;
    std::unique_ptr<FdWatch> watch_;
};

#endif
