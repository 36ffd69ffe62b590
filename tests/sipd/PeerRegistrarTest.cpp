// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The daemon at small registrars that others have written.
#include "RealServerTest.h"

#include <gmock/gmock.h>

#include <ostream>

namespace {

struct Peer
{
    const char* name;
    const char* package;              // Debian's
    std::vector<std::string> probe;   // succeeds when the package is installed
    std::vector<std::string> command; // gets the port and a directory for its files
    const char* transport;
};

const std::vector<std::string> NET_SIP = {"/usr/bin/perl", PEERS_DIRECTORY "/net-sip-registrar"};
const std::vector<std::string> NET_SIP_PROBE = {"/usr/bin/perl", "-MNet::SIP", "-e", "1"};

const std::vector<std::string> EJABBERD = {"/usr/bin/escript", PEERS_DIRECTORY "/ejabberd-registrar"};
const std::vector<std::string> EJABBERD_PROBE = {
    "/bin/sh", "-c",
    "ls /usr/lib/*/ejabberd-*/ebin/mod_sip.beam /usr/lib/erlang/lib/p1_sip-*/ebin/esip.beam"};

const Peer PEERS[] = {
    {"NetSipUdp", "libnet-sip-perl", NET_SIP_PROBE, NET_SIP, "udp"},
    {"NetSipTcp", "libnet-sip-perl", NET_SIP_PROBE, NET_SIP, "tcp"},
    {"Twisted",
     "python3-twisted",
     {"/usr/bin/python3", "-c", "import twisted.protocols.sip"},
     {"/usr/bin/python3", PEERS_DIRECTORY "/twisted-registrar"},
     "udp"},
    {"EjabberdUdp", "ejabberd or erlang-p1-sip", EJABBERD_PROBE, EJABBERD, "udp"},
    {"EjabberdTcp", "ejabberd or erlang-p1-sip", EJABBERD_PROBE, EJABBERD, "tcp"},
};

void PrintTo(const Peer& peer, std::ostream* stream)
{
    *stream << peer.name;
}

class PeerRegistrar : public RealServerTest, public testing::WithParamInterface<Peer>
{
protected:
    // The contacts of anna after the last request.
    static std::string contactsIn(const std::string& log)
    {
        const size_t line = log.rfind("contacts:");
        return line == std::string::npos ? "" : log.substr(line, log.find('\n', line) - line);
    }
    // The server answers before it prints.
    static void expectContacts(const LoggedProgram& server, const std::string& contacts)
    {
        EXPECT_TRUE(waitUntil([&] {
            return testing::Matches(testing::MatchesRegex(contacts))(contactsIn(server.log()));
        })) << server.log();
    }
};

std::string nameOfPeer(const testing::TestParamInfo<Peer>& peer)
{
    return peer.param.name;
}

INSTANTIATE_TEST_SUITE_P(Real, PeerRegistrar, testing::ValuesIn(PEERS), nameOfPeer);

} // namespace

TEST_P(PeerRegistrar, AcceptsTheRightPasswordOnly)
{
    const Peer& peer = GetParam();
    if (outcomeOf(peer.probe).second != 0)
        GTEST_SKIP() << "the package " << peer.package << " is not installed";
    const int port = freePort();
    std::vector<std::string> command = peer.command;
    command.insert(command.end(), {std::to_string(port), workplace()});
    LoggedProgram server(command, workplace() / "log");
    ASSERT_TRUE(
        waitUntil([&] { return !server.isRunning() || server.log().find("ready\n") != std::string::npos; }));
    ASSERT_TRUE(server.isRunning()) << server.log();
    TestProfile profile = profileOf("anna", serverOver(peer.transport), port);
    writeProfile("Profile0", profile);
    startDaemon();

    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS) << daemon().log();
    expectContacts(server, "contacts: sip:anna@127.0.0.1:[^ ]*");
    EXPECT_TRUE(isConnected());
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    expectContacts(server, "contacts:");

    profile.password = "guess";
    writeProfile("Profile0", profile);
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_INCORRECT_PROFILE);
    EXPECT_EQ(contactsIn(server.log()), "contacts:");
}
