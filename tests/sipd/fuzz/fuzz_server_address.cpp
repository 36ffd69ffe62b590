// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Feeds arbitrary text to the reading of what a person typed as a server, and of a URI that a server sends.
//
// An input is: two bytes, the profile's port, low byte first, and the server. Port 0 stands for 5060, and 1
// for 65536.

#include "RegistrarAddress.h"
#include "Require.h"
#include "ServerAddress.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <sofia-sip/su_alloc.h>
#include <sofia-sip/url.h>

// How many inputs were addresses, for those who replay them.
size_t acceptedCount = 0;
// And how many were URIs.
size_t uriCount = 0;

namespace {

unsigned int portOf(const uint8_t* data)
{
    const unsigned int port = data[0] + 256U * data[1];
    return port == 0 ? 5060 : port == 1 ? 65536 : port;
}

void checkHost(const RegistrarAddress& address)
{
    require(!address.host.empty());
    require(std::all_of(address.host.begin(), address.host.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || std::strchr("-._:", c) != nullptr;
    }));
    const auto server = ServerAddress::parse(address.host, address.port);
    require(server.has_value() == address.numeric);
    if (!server)
        return;
    require(server->port() == address.port);
    const auto again = parseRegistrarAddress(server->uriHost(), address.port);
    require(again && again->numeric);
    require(ServerAddress::parse(again->host, again->port)->uriHost() == server->uriHost());
}

// What is written anew is read as the same.
void checkText(const RegistrarAddress& address)
{
    const std::string transport = std::string(";transport=") + nameOf(address.transport);
    RegistrarAddress typed = address;
    typed.defaultTransport = false;
    if (address.defaultPort)
        require(parseRegistrarAddress(address.uriHost() + transport, 5060) == typed);
    typed.defaultPort = false;
    const std::string server = address.uriHost() + ':' + std::to_string(address.port) + transport;
    require(parseRegistrarAddress(server, 0) == typed);
    require(parseServerUri("sip:a;b?c@" + server + ";lr?d=e") == typed);
}

// The SIP stack takes it for the same host and port.
void checkUri(const RegistrarAddress& address)
{
    su_home_t home = {};
    home.suh_size = sizeof(home);
    su_home_init(&home);
    const std::string text = "sip:user@" + address.uriHost() + ':' + std::to_string(address.port);
    const url_t* const url = url_make(&home, text.c_str());
    require(url != nullptr && url->url_host == address.uriHost() &&
            url->url_port == std::to_string(address.port) && url->url_params == nullptr);
    su_home_deinit(&home);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const unsigned int port = portOf(data);
    const std::string server(reinterpret_cast<const char*>(data) + 2, size - 2);
    const auto address = parseRegistrarAddress(server, port);
    require(parseRegistrarAddress(" \t" + server + "\r\n", port) == address);
    if (const auto named = parseServerUri(server)) {
        checkHost(*named);
        checkText(*named);
        checkUri(*named);
        ++uriCount;
    }
    if (!address)
        return 0;
    require(address->port >= 1);
    checkHost(*address);
    checkText(*address);
    checkUri(*address);
    ++acceptedCount;
    return 0;
}
