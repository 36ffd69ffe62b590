// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SIPD_CLIENT_H
#define SIPD_CLIENT_H

#include "SipdWire.h"

#include <optional>
#include <string>
#include <sys/types.h>

// A client's connection to the daemon on which anything can be sent. A receiving call gives up after twenty
// seconds.
class SipdClient
{
public:
    static constexpr uint32_t NO_ANSWER = 0xffffffff;

    SipdClient(); // connects; isConnected() tells whether it did
    // Connects, introduces itself and sends the request.
    SipdClient(_SIPD_PROFILE_CTRL_E request, const std::string& name);
    ~SipdClient();
    SipdClient(SipdClient&& other) noexcept;
    SipdClient(const SipdClient&) = delete;
    SipdClient& operator=(const SipdClient&) = delete;

    bool isConnected() const { return connected_; }
    pid_t daemon() const; // its process

    // False when the daemon has closed. Blocks while the daemon does not read.
    bool send(const std::string& bytes) const;
    // Sends without blocking. The number of bytes that the daemon took.
    size_t sendSome(const std::string& bytes) const;
    // Nothing when the daemon has closed, or does not answer.
    std::optional<SipdMessage> receive();
    // Whether the daemon closes, without another message.
    bool isClosedByDaemon();
    void close();

    // Each returns the daemon's answer, or NO_ANSWER.
    uint32_t introduce();
    uint32_t request(_SIPD_PROFILE_CTRL_E request, const std::string& name);
    uint32_t status(const std::string& name);
    uint32_t ack();

    static std::string registerMessage();
    static std::string profileMessage(uint32_t request, const std::string& name, uint32_t appId = 0);

private:
    int fd_ = -1;
    bool connected_ = false;
    std::string received_;
};

#endif
