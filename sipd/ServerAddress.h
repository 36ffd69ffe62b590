#ifndef SERVERADDRESS_H
#define SERVERADDRESS_H

#include <cstdint>
#include <netinet/in.h>
#include <optional>
#include <string>
#include <variant>

// An IP address and a port.
class ServerAddress
{
public:
    explicit ServerAddress(const sockaddr_in& address) : address_(address) {}
    explicit ServerAddress(const sockaddr_in6& address) : address_(address) {}

    // Parses an IP address. Returns nothing for anything else.
    static std::optional<ServerAddress> parse(const std::string& host, uint16_t port);

    // The address in a SIP URI: IPv6 in brackets.
    std::string uriHost() const;
    uint16_t port() const;

    // This machine's source address for packets to that address, for a SIP URI. Empty, with errno, when there
    // is no route. Does not block, and sends nothing.
    std::string localUriHost() const;

private:
    const sockaddr* raw() const;
    socklen_t size() const;

    std::variant<sockaddr_in, sockaddr_in6> address_;
};

// Whether an interface other than the loopback is up and has an address.
bool isAnyNetworkUp();

#endif
