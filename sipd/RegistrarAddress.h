// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef REGISTRARADDRESS_H
#define REGISTRARADDRESS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

enum class Transport { Udp, Tcp, Tls };

// "udp", "tcp", "tls"
const char* nameOf(Transport transport);

// The registrar of a profile.
struct RegistrarAddress
{
    std::string host; // A name in ASCII, or an IP address; an IPv6 address without brackets.
    uint16_t port = 0;
    Transport transport = Transport::Udp;
    bool numeric = false;          // The host is an IP address.
    bool defaultPort = false;      // Nobody chose the port: DNS may name another.
    bool defaultTransport = false; // Nobody chose the transport: DNS may name another.

    bool operator==(const RegistrarAddress&) const = default;

    // The host in a SIP URI: an IPv6 address in brackets.
    std::string uriHost() const;
    // A port that nobody chose follows the transport.
    void setTransport(Transport chosen);
};

// Parses a profile's server and port. Returns nothing when they are not valid.
//
// The server is a name, an IPv4 address, or an IPv6 address with or without brackets. "sip:" may precede it.
// ":port", which overrides the profile's port, and ";transport=udp", "tcp" or "tls" may follow. Case and
// surrounding blanks do not matter. UDP is the default. Port 5060 is the default of profiles, so it counts as
// nobody's choice; for TLS it becomes 5061.
std::optional<RegistrarAddress> parseRegistrarAddress(std::string_view server, unsigned int port);

// Parses a SIP or SIPS URI, as in a Contact header. Its user and header parts do not matter. Returns nothing
// when it is not valid, or leads somewhere else than to its host ("maddr").
std::optional<RegistrarAddress> parseServerUri(std::string_view uri);

#endif
