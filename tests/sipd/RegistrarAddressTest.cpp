// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "RegistrarAddress.h"

#include <gtest/gtest.h>
#include <ostream>
#include <sstream>

namespace {

// "HOST PORT TRANSPORT", with a "*" behind a default port; "-" for a text that is no address.
std::string parsed(std::string_view server, unsigned int port = 5070)
{
    const auto address = parseRegistrarAddress(server, port);
    if (!address)
        return "-";
    return address->uriHost() + ' ' + std::to_string(address->port) + (address->defaultPort ? "* " : " ") +
           nameOf(address->transport);
}

} // namespace

TEST(RegistrarAddress, IsANameOrAnIpAddress)
{
    EXPECT_EQ(parsed("sip.example.com"), "sip.example.com 5070 udp");
    EXPECT_EQ(parsed("localhost"), "localhost 5070 udp");
    EXPECT_EQ(parsed("a_b-c.example.com."), "a_b-c.example.com. 5070 udp");
    EXPECT_EQ(parsed("192.0.2.7"), "192.0.2.7 5070 udp");
    EXPECT_EQ(parsed("2001:db8::1"), "[2001:db8::1] 5070 udp");
    EXPECT_EQ(parsed("[2001:db8::1]"), "[2001:db8::1] 5070 udp");
    EXPECT_TRUE(parseRegistrarAddress("[::1]", 1)->numeric);
    EXPECT_TRUE(parseRegistrarAddress("127.0.0.1", 1)->numeric);
    EXPECT_FALSE(parseRegistrarAddress("localhost", 1)->numeric);
}

TEST(RegistrarAddress, MayBeInAnyScript)
{
    EXPECT_EQ(parsed("b\xc3\xbc"
                     "cher.example"),
              "xn--bcher-kva.example 5070 udp");
    EXPECT_EQ(parsed("STRA\xc3\x9f"
                     "E.example"),
              "xn--strae-oqa.example 5070 udp");
    EXPECT_EQ(parsed("b\xc3"), "-");
    EXPECT_EQ(parsed(std::string_view("b\xc3\xbc\0.example", 11)), "-");
}

TEST(RegistrarAddress, MayHaveWhatPeopleTypeAroundIt)
{
    EXPECT_EQ(parsed("  example.com \t\r\n"), "example.com 5070 udp");
    EXPECT_EQ(parsed("sip:example.com"), "example.com 5070 udp");
    EXPECT_EQ(parsed("SIP:[::1]"), "[::1] 5070 udp");
    EXPECT_EQ(parsed("sip:::1"), "[::1] 5070 udp");
    EXPECT_EQ(parsed("sip:sip:5080"), "sip 5080 udp");
    EXPECT_EQ(parsed("sip:5080;transport=tcp"), "sip 5080 tcp") << "a host of that name";
    EXPECT_EQ(parsed("example.com;transport=tcp"), "example.com 5070 tcp");
    EXPECT_EQ(parsed(" sip:example.com ; Transport=TLS "), "example.com 5070 tls");
    EXPECT_EQ(parsed("::1;transport=udp"), "[::1] 5070 udp");
    EXPECT_EQ(parsed("example.com;"), "example.com 5070 udp");
}

TEST(RegistrarAddress, TakesATypedPortBeforeTheProfiles)
{
    EXPECT_EQ(parsed("example.com:5080"), "example.com 5080 udp");
    EXPECT_EQ(parsed("[::1]:5080;transport=tcp"), "[::1] 5080 tcp");
    EXPECT_EQ(parsed("192.0.2.7:5060", 5070), "192.0.2.7 5060 udp");
    EXPECT_EQ(parsed("192.0.2.7:5080", 0), "192.0.2.7 5080 udp");
}

TEST(RegistrarAddress, KnowsThePortThatNobodyChose)
{
    EXPECT_EQ(parsed("example.com", 5060), "example.com 5060* udp");
    EXPECT_EQ(parsed("example.com;transport=tls", 5060), "example.com 5061* tls");
    EXPECT_EQ(parsed("example.com:5060;transport=tls", 5060), "example.com 5060 tls");
}

TEST(RegistrarAddress, HasAPortThatThereIs)
{
    EXPECT_EQ(parsed("example.com", 0), "-");
    EXPECT_EQ(parsed("example.com", 1), "example.com 1 udp");
    EXPECT_EQ(parsed("example.com", 65535), "example.com 65535 udp");
    EXPECT_EQ(parsed("example.com", 65536), "-");
    EXPECT_EQ(parsed("example.com", 0xffffffff), "-");
    for (const char* server : {"example.com:0", "example.com:65536", "example.com:", "example.com:x",
                               "example.com:-1", "example.com:4294967297", "[::1]:", "[::1]5080"})
        EXPECT_EQ(parsed(server), "-") << server;
}

TEST(RegistrarAddress, IsNothingElse)
{
    std::istringstream servers(
        "| |sip:|;transport=udp|two words|anna@example.com|sips:example.com|.example.com|"
        "example..com|example.com/x|example.com;transport=sctp|example.com;transport=|"
        "example.com;lr|example.com;transport=udp;lr|1.2.3|1.2.3.4.5|256.1.1.1|[::1|::1]|"
        "[example.com]|[127.0.0.1]|1:2:3|:::|http://example.com|exa\nmple.com|a\"b|%41");
    for (std::string server; std::getline(servers, server, '|');)
        EXPECT_EQ(parsed(server), "-") << server;
    EXPECT_EQ(parsed(std::string(254, 'a')), "-");
    EXPECT_EQ(parsed(std::string_view("a\0b", 3)), "-");
    EXPECT_EQ(parsed(std::string_view("::1\0b", 5)), "-") << "an address ends where its text does";
    EXPECT_EQ(parsed(std::string_view("127.0.0.1\0", 10)), "-");
}

TEST(RegistrarAddress, IsReadFromASipUri)
{
    const auto parsedUri = [](std::string_view uri) {
        const auto server = parseServerUri(uri);
        if (!server)
            return std::string("-");
        return server->uriHost() + ' ' + std::to_string(server->port) + ' ' + nameOf(server->transport) +
               (server->defaultTransport ? "*" : "");
    };
    EXPECT_EQ(parsedUri("sip:example.com"), "example.com 5060 udp*");
    EXPECT_EQ(parsedUri("SIP:a;b?c:d@[2001:db8::1]:5070;lr;transport=TCP?subject=x"),
              "[2001:db8::1] 5070 tcp");
    EXPECT_EQ(parsedUri("sips:anna@example.com"), "example.com 5061 tls");
    EXPECT_EQ(parsedUri("sips:example.com:5071;transport=tcp"), "example.com 5071 tls");
    for (const char* uri :
         {"", "sip:", "sip:;transport=udp", "sip:anna@", "tel:+1234", "example.com", "sip:a b",
          "sip:example.com;transport=ws", "sip:example.com;maddr=192.0.2.1", "sip:[::1"})
        EXPECT_EQ(parsedUri(uri), "-") << uri;
}
