// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SERVERADDRESS_H
#define SERVERADDRESS_H

#include "RegistrarAddress.h"

#include <cstdint>
#include <netinet/in.h>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

// An IP address, a port and a transport.
class ServerAddress
{
public:
    explicit ServerAddress(const sockaddr_in& address, Transport transport = Transport::Udp)
        : address_(address), transport_(transport)
    {
    }
    explicit ServerAddress(const sockaddr_in6& address, Transport transport = Transport::Udp)
        : address_(address), transport_(transport)
    {
    }

    // Parses an IP address. Returns nothing for anything else.
    static std::optional<ServerAddress> parse(const std::string& host, uint16_t port,
                                              Transport transport = Transport::Udp);

    bool operator==(const ServerAddress& other) const;
    bool isSameHost(const ServerAddress& other) const;
    // Whether IP address and port are the same, by whatever transport.
    bool isSamePlace(const ServerAddress& other) const { return isSameHost(other) && port() == other.port(); }

    // The address in a SIP URI: IPv6 in brackets.
    std::string uriHost() const;
    uint16_t port() const;
    Transport transport() const { return transport_; }

    // This machine's source address for packets to that address, for a SIP URI. Empty, with errno, when there
    // is no route. Does not block, and sends nothing.
    std::string localUriHost() const;

    // Sends one packet there from a datagram socket, if that is possible at once.
    void sendFrom(int fd, std::string_view packet) const;

private:
    const sockaddr* raw() const;
    socklen_t size() const;

    std::variant<sockaddr_in, sockaddr_in6> address_;
    Transport transport_;
};

// Whether an interface other than the loopback is up and has an address.
bool isAnyNetworkUp();

#endif
