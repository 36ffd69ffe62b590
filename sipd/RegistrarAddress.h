#ifndef REGISTRARADDRESS_H
#define REGISTRARADDRESS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

enum class Transport { Udp, Tcp, Tls };

// "udp", "tcp", "tls"
const char* nameOf(Transport transport);

// Where a profile registers.
struct RegistrarAddress
{
    std::string host; // A name in ASCII, or an IP address; an IPv6 address without brackets.
    uint16_t port = 0;
    Transport transport = Transport::Udp;
    bool numeric = false;     // The host is an IP address.
    bool defaultPort = false; // Nobody chose the port: DNS may know a better one.

    bool operator==(const RegistrarAddress&) const = default;

    // The host as it stands in a SIP URI: an IPv6 address in brackets.
    std::string uriHost() const;
};

// The registrar that a person means who typed server, and this port, into a profile. Nothing when that makes
// no sense, or the port is none.
//
// The server is a name, an IPv4 address, or an IPv6 address with or without brackets. Before it there may be
// "sip:", behind it ":port", which goes before the profile's port, and ";transport=udp", "tcp" or "tls" in
// either case; blanks around all that do not count. Port 5060, every profile's from the start, is taken as
// nobody's choice; for TLS it becomes 5061.
std::optional<RegistrarAddress> parseRegistrarAddress(std::string_view server, unsigned int port);

#endif
