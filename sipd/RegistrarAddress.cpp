// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "RegistrarAddress.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <charconv>
#include <idn2.h>
#include <memory>

namespace {

constexpr unsigned int SIP_PORT = 5060;
constexpr unsigned int SIPS_PORT = 5061;
constexpr unsigned int HIGHEST_PORT = 65535;
constexpr size_t LONGEST_NAME = 253;

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool isAlike(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

bool takePrefix(std::string_view& text, std::string_view prefix)
{
    if (!isAlike(text.substr(0, prefix.size()), prefix))
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

std::optional<Transport> transportOf(std::string_view name)
{
    for (const Transport transport : {Transport::Udp, Transport::Tcp, Transport::Tls}) {
        if (isAlike(name, nameOf(transport)))
            return transport;
    }
    return std::nullopt;
}

// Parses the parameters behind the first ";": none, or one transport.
bool setTransport(RegistrarAddress& address, std::string_view text)
{
    text = trimmed(text);
    address.defaultTransport = text.empty();
    if (text.empty())
        return true;
    const auto transport = takePrefix(text, "transport=") ? transportOf(trimmed(text)) : std::nullopt;
    address.transport = transport.value_or(Transport::Udp);
    return transport.has_value();
}

std::optional<unsigned int> parsePort(std::string_view text)
{
    unsigned int port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return port;
}

void takeScheme(std::string_view& server)
{
    std::string_view rest = server;
    // "sip:5060" is a host named sip and a port.
    if (takePrefix(rest, "sip:") && !parsePort(rest.substr(0, rest.find(';'))))
        server = rest;
}

bool isIpAddress(int family, const std::string& text)
{
    in6_addr address;
    return text.find('\0') == std::string::npos && inet_pton(family, text.c_str(), &address) == 1;
}

bool isHostName(std::string_view name)
{
    if (name.empty() || name.size() > LONGEST_NAME || name.front() == '.' ||
        name.find("..") != std::string_view::npos)
        return false;
    const auto isAllowed = [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '-' || c == '.' || c == '_';
    };
    // Digits and dots alone are a mistyped IPv4 address.
    return std::all_of(name.begin(), name.end(), isAllowed) &&
           name.find_first_not_of("0123456789.") != std::string_view::npos;
}

// The ASCII form of a name in any script. Empty when it has none.
std::string asciiName(std::string_view name)
{
    if (std::all_of(name.begin(), name.end(), [](unsigned char c) { return c < 0x80; }))
        return std::string(name);
    char* ascii = nullptr;
    if (name.find('\0') != std::string_view::npos ||
        idn2_to_ascii_8z(std::string(name).c_str(), &ascii, IDN2_NONTRANSITIONAL | IDN2_NFC_INPUT) != IDN2_OK)
        return {};
    const std::unique_ptr<char, decltype(&idn2_free)> owner(ascii, idn2_free);
    return ascii;
}

struct HostAndPort
{
    std::string_view host;
    std::optional<std::string_view> port;
    bool bracketed = false;
};

std::optional<HostAndPort> splitPort(std::string_view text)
{
    if (text.starts_with('[')) {
        const size_t end = text.find(']');
        if (end == std::string_view::npos)
            return std::nullopt;
        HostAndPort split{text.substr(1, end - 1), std::nullopt, true};
        text.remove_prefix(end + 1);
        if (text.starts_with(':'))
            split.port = text.substr(1);
        else if (!text.empty())
            return std::nullopt;
        return split;
    }
    const size_t colon = text.find(':');
    // An IPv6 address has more than one.
    if (colon == std::string_view::npos || text.find(':', colon + 1) != std::string_view::npos)
        return HostAndPort{text, std::nullopt, false};
    return HostAndPort{text.substr(0, colon), text.substr(colon + 1), false};
}

bool setHost(RegistrarAddress& address, const HostAndPort& split)
{
    address.host = asciiName(split.host);
    const bool v6 = isIpAddress(AF_INET6, address.host);
    address.numeric = v6 || isIpAddress(AF_INET, address.host);
    if (split.bracketed)
        return v6;
    return address.numeric || isHostName(address.host);
}

bool setPort(RegistrarAddress& address, std::optional<std::string_view> typed, unsigned int profilesPort)
{
    address.defaultPort = !typed && profilesPort == SIP_PORT;
    std::optional<unsigned int> port = typed ? parsePort(*typed) : profilesPort;
    if (address.defaultPort && address.transport == Transport::Tls)
        port = SIPS_PORT;
    if (!port || *port < 1 || *port > HIGHEST_PORT)
        return false;
    address.port = static_cast<uint16_t>(*port);
    return true;
}

} // namespace

const char* nameOf(Transport transport)
{
    switch (transport) {
    case Transport::Tcp:
        return "tcp";
    case Transport::Tls:
        return "tls";
    case Transport::Udp:
        break;
    }
    return "udp";
}

std::string RegistrarAddress::uriHost() const
{
    return host.find(':') == std::string::npos ? host : '[' + host + ']';
}

void RegistrarAddress::setTransport(Transport chosen)
{
    transport = chosen;
    if (defaultPort)
        port = chosen == Transport::Tls ? SIPS_PORT : SIP_PORT;
}

std::optional<RegistrarAddress> parseServerUri(std::string_view uri)
{
    const bool isSecure = takePrefix(uri, "sips:");
    if (!isSecure && !takePrefix(uri, "sip:"))
        return std::nullopt;
    // A user part may contain semicolons and question marks, and the rest no "@".
    if (const size_t at = uri.find('@'); at != std::string_view::npos)
        uri.remove_prefix(at + 1);
    uri = uri.substr(0, uri.find('?'));
    std::string_view parameters = uri.substr(std::min(uri.find(';'), uri.size()));
    std::string server(uri.substr(0, uri.size() - parameters.size()));
    while (!parameters.empty()) {
        parameters.remove_prefix(1);
        std::string_view parameter = parameters.substr(0, parameters.find(';'));
        parameters.remove_prefix(parameter.size());
        if (takePrefix(parameter, "maddr="))
            return std::nullopt;
        if (takePrefix(parameter, "transport=") && !isSecure)
            server.append(";transport=").append(parameter);
    }
    return parseRegistrarAddress(isSecure ? server + ";transport=tls" : server, SIP_PORT);
}

std::optional<RegistrarAddress> parseRegistrarAddress(std::string_view server, unsigned int port)
{
    server = trimmed(server);
    takeScheme(server);
    const size_t semicolon = std::min(server.find(';'), server.size());
    const std::string_view parameters = server.substr(std::min(semicolon + 1, server.size()));
    const auto split = splitPort(trimmed(server.substr(0, semicolon)));
    RegistrarAddress address;
    if (!split || !setTransport(address, parameters) || !setHost(address, *split) ||
        !setPort(address, split->port, port))
        return std::nullopt;
    return address;
}
