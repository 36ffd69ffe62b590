#ifndef SERVERADDRESS_H
#define SERVERADDRESS_H

#include <cstdint>
#include <netinet/in.h>
#include <optional>
#include <string>
#include <variant>

// Where a packet goes: an IP address and a port.
class ServerAddress
{
public:
    explicit ServerAddress(const sockaddr_in& address) : address_(address) {}
    explicit ServerAddress(const sockaddr_in6& address) : address_(address) {}

    // Of an address in digits; nothing when it is none.
    static std::optional<ServerAddress> parse(const std::string& host, uint16_t port);

    // For a SIP URI: an IPv6 address in brackets.
    std::string uriHost() const;
    uint16_t port() const;

    // The address of this machine that packets to there go out from, for a SIP URI. Empty, and errno set,
    // when there is no way there. Asks the kernel alone, and does not block.
    std::string localUriHost() const;

private:
    const sockaddr* raw() const;
    socklen_t size() const;

    std::variant<sockaddr_in, sockaddr_in6> address_;
};

// Whether an interface other than the loopback is up and has an address.
bool isAnyNetworkUp();

#endif
