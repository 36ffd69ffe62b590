// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ServerAddress.h"

#include <arpa/inet.h>
#include <array>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <unistd.h>

namespace {

std::string uriHostOf(const std::variant<sockaddr_in, sockaddr_in6>& address)
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (const auto* v4 = std::get_if<sockaddr_in>(&address))
        return inet_ntop(AF_INET, &v4->sin_addr, text.data(), text.size());
    const auto& v6 = std::get<sockaddr_in6>(address);
    return '[' + std::string(inet_ntop(AF_INET6, &v6.sin6_addr, text.data(), text.size())) + ']';
}

} // namespace

std::optional<ServerAddress> ServerAddress::parse(const std::string& host, uint16_t port, Transport transport)
{
    if (host.find('\0') != std::string::npos)
        return std::nullopt;
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    v4.sin_port = htons(port);
    if (inet_pton(AF_INET, host.c_str(), &v4.sin_addr) == 1)
        return ServerAddress(v4, transport);
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    if (inet_pton(AF_INET6, host.c_str(), &v6.sin6_addr) == 1)
        return ServerAddress(v6, transport);
    return std::nullopt;
}

bool ServerAddress::operator==(const ServerAddress& other) const
{
    return isSamePlace(other) && transport_ == other.transport_;
}

bool ServerAddress::isSameHost(const ServerAddress& other) const
{
    const auto* const v4 = std::get_if<sockaddr_in>(&address_);
    const auto* const otherV4 = std::get_if<sockaddr_in>(&other.address_);
    if (v4 != nullptr && otherV4 != nullptr)
        return v4->sin_addr.s_addr == otherV4->sin_addr.s_addr;
    const auto* const v6 = std::get_if<sockaddr_in6>(&address_);
    const auto* const otherV6 = std::get_if<sockaddr_in6>(&other.address_);
    return v6 != nullptr && otherV6 != nullptr && IN6_ARE_ADDR_EQUAL(&v6->sin6_addr, &otherV6->sin6_addr);
}

std::string ServerAddress::uriHost() const
{
    return uriHostOf(address_);
}

uint16_t ServerAddress::port() const
{
    if (const auto* v4 = std::get_if<sockaddr_in>(&address_))
        return ntohs(v4->sin_port);
    return ntohs(std::get<sockaddr_in6>(address_).sin6_port);
}

std::string ServerAddress::localUriHost() const
{
    // Connecting a datagram socket sends nothing.
    const int fd = socket(raw()->sa_family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return {};
    std::string host;
    ServerAddress local = *this;
    socklen_t length = size();
    if (connect(fd, raw(), size()) == 0 && getsockname(fd, const_cast<sockaddr*>(local.raw()), &length) == 0)
        host = local.uriHost();
    const int savedErrno = errno;
    close(fd);
    errno = savedErrno;
    return host;
}

void ServerAddress::sendFrom(int fd, std::string_view packet) const
{
    sendto(fd, packet.data(), packet.size(), MSG_DONTWAIT | MSG_NOSIGNAL, raw(), size());
}

const sockaddr* ServerAddress::raw() const
{
    return std::visit([](const auto& address) { return reinterpret_cast<const sockaddr*>(&address); },
                      address_);
}

socklen_t ServerAddress::size() const
{
    return std::holds_alternative<sockaddr_in>(address_) ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
}

bool isAnyNetworkUp()
{
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0)
        return true;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> interfaces(first, freeifaddrs);
    for (const ifaddrs* i = first; i != nullptr; i = i->ifa_next) {
        const bool ip = i->ifa_addr != nullptr &&
                        (i->ifa_addr->sa_family == AF_INET || i->ifa_addr->sa_family == AF_INET6);
        if (ip && (i->ifa_flags & IFF_UP) != 0 && (i->ifa_flags & IFF_LOOPBACK) == 0)
            return true;
    }
    return false;
}
