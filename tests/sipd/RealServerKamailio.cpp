// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "RealServerKamailio.h"

#include "SipdProcess.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

// For a quoted string of the configuration.
std::string escaped(const std::string& text)
{
    std::string result;
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result;
}

// The standard output of a command.
std::string outputOf(const std::string& command)
{
    std::string output;
    std::array<char, 4096> part = {};
    std::FILE* pipe = popen(command.c_str(), "r");
    while (const size_t count = std::fread(part.data(), 1, part.size(), pipe))
        output.append(part.data(), count);
    pclose(pipe);
    return output;
}

// The rest of the line after the first "NAME: ".
std::string fieldOf(const std::string& text, const std::string& name)
{
    const size_t found = text.find(name + ": ");
    if (found == std::string::npos)
        return {};
    const size_t begin = found + name.size() + 2;
    return text.substr(begin, text.find('\n', begin) - begin);
}

size_t countOf(const std::string& text, const std::string& part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

constexpr char ROUTE[] = R"(
request_route {
    if (!is_method("REGISTER")) {
        sl_send_reply("405", "Method Not Allowed");
        exit;
    }
    switch ($tU) {
    case "busy":
        append_to_reply("Retry-After: 5\r\n");
        sl_send_reply("503", "Service Unavailable");
        exit;
    case "silent":
        exit;
    case "proxied":
        if (!pv_proxy_authenticate("$fd", "PASSWORD", "0")) {
            proxy_challenge("$fd", "0");
            exit;
        }
        save("location");
        exit;
    }
    if (!pv_www_authenticate("$fd", "PASSWORD", "0")) {
        www_challenge("$fd", "0");
        exit;
    }
    save("location");
}
)";

std::string routeFor(const std::string& password)
{
    std::string route = ROUTE;
    const std::string given = escaped(password);
    for (size_t at = 0; (at = route.find("PASSWORD", at)) != std::string::npos; at += given.size())
        route.replace(at, 8, given);
    return route;
}

} // namespace

Kamailio::Kamailio(const std::filesystem::path& directory) : Kamailio(directory, Options{}) {}

Kamailio::Kamailio(const std::filesystem::path& directory, Options options)
    : directory_(directory / "kamailio"), options_(std::move(options)), port_(freePort()),
      tlsPort_(freePort())
{
    std::filesystem::create_directories(directory_);
}

Kamailio::~Kamailio() = default;

std::string Kamailio::control() const
{
    return "unix:" + (directory_ / "ctl").string();
}

bool Kamailio::hasIpv6()
{
    const int fd = socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in6 address = {};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    const bool has = bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    close(fd);
    return has;
}

void Kamailio::writeConfiguration() const
{
    std::ofstream file(directory_ / "kamailio.cfg");
    file << "#!KAMAILIO\nlog_stderror=yes\nchildren=2\ntcp_children=2\n";
    for (const char* transport : {"udp", "tcp"}) {
        file << "listen=" << transport << ":127.0.0.1:" << port_ << "\n";
        if (hasIpv6())
            file << "listen=" << transport << ":[::1]:" << port_ << "\n";
    }
    if (!options_.certificate.empty())
        file << "enable_tls=yes\nlisten=tls:127.0.0.1:" << tlsPort_ << "\n"
             << "loadmodule \"tls\"\n"
             // Debian 12's kamailio fails every handshake of TLS 1.3.
             << "modparam(\"tls\", \"tls_method\", \"TLSv1.2\")\n"
             << "modparam(\"tls\", \"certificate\", " << options_.certificate << ")\n"
             << "modparam(\"tls\", \"private_key\", " << options_.key << ")\n";
    for (const char* module :
         {"sl", "pv", "xlog", "textops", "siputils", "auth", "usrloc", "registrar", "cfgutils", "ctl"})
        file << "loadmodule \"" << module << "\"\n";
    file << "modparam(\"ctl\", \"binrpc\", \"" << control() << "\")\n"
         << "modparam(\"usrloc\", \"db_mode\", 0)\n"
         << "modparam(\"registrar\", \"min_expires\", 1)\n"
         << "modparam(\"registrar\", \"max_expires\", 3600)\n"
         << routeFor(options_.password);
}

void Kamailio::start()
{
    writeConfiguration();
    std::filesystem::remove(directory_ / "ctl");
    const std::string place = directory_.string();
    program_ = std::make_unique<LoggedProgram>(
        std::vector<std::string>{KAMAILIO_PROGRAM, "-f", place + "/kamailio.cfg", "-DD", "-E", "-m", "32",
                                 "-M", "8", "-P", place + "/pid", "-Y", place, "-w", place},
        place + "/log");
    // It answers once its processes run, which is later than the control socket exists.
    ASSERT_TRUE(waitUntil([this] {
        return !program_->isRunning() ||
               !outputOf("kamcmd -s " + control() + " core.uptime 2>/dev/null").empty();
    }));
    ASSERT_TRUE(program_->isRunning()) << program_->log();
}

void Kamailio::die()
{
    program_.reset();
}

std::optional<Kamailio::Registered> Kamailio::registered(const std::string& user) const
{
    const std::string answer =
        outputOf("kamcmd -s " + control() + " ul.lookup location s:" + user + " 2>/dev/null");
    const std::string contact = fieldOf(answer, "Address");
    if (contact.empty())
        return std::nullopt;
    EXPECT_EQ(countOf(answer, "Address: "), 1U) << answer;
    const std::string socket = fieldOf(answer, "Socket");
    return Registered{contact, socket.substr(0, socket.find(':')),
                      std::atoi(fieldOf(answer, "CSeq").c_str())};
}
