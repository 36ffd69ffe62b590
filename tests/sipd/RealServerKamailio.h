// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef REALSERVERKAMAILIO_H
#define REALSERVERKAMAILIO_H

#include "RealServerProcess.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

// kamailio as a registrar on ports of its own on 127.0.0.1, for one test. Every user may register with the
// password SECRET, except
//
//   busy      503 with "Retry-After: 5"
//   silent    no answer
//   proxied   407 asks for the password
class Kamailio
{
public:
    static constexpr char SECRET[] = "secret";

    struct Options
    {
        std::string password = SECRET;
        // The files for TLS. Without them it serves no TLS.
        std::filesystem::path certificate = {};
        std::filesystem::path key = {};
    };

    // Makes a directory in that one for its files.
    explicit Kamailio(const std::filesystem::path& directory);
    Kamailio(const std::filesystem::path& directory, Options options);
    ~Kamailio();

    // Starts, on the same ports each time, and waits until it serves. Fails the test when it cannot.
    void start();
    // Kills it. It forgets all registrations.
    void die();

    // Whether it serves ::1, too.
    static bool hasIpv6();

    int port() const { return port_; }
    int tlsPort() const { return tlsPort_; }

    struct Registered
    {
        std::string contact;
        std::string transport; // udp, tcp, tls
        int sequence = 0;      // of the last REGISTER
    };
    // The user's binding. A second one fails the test.
    std::optional<Registered> registered(const std::string& user) const;

private:
    std::string control() const;
    void writeConfiguration() const;

    const std::filesystem::path directory_;
    const Options options_;
    const int port_;
    const int tlsPort_;
    std::unique_ptr<LoggedProgram> program_;
};

#endif
