#ifndef REALSERVERKAMAILIO_H
#define REALSERVERKAMAILIO_H

#include "RealServerProcess.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

// kamailio as a registrar on ports of its own on 127.0.0.1, for one test. Every user may register with the
// password SECRET, except
//
//   busy      503 with "Retry-After: 5"
//   unknown   404
//   banned    403
//   broken    500
//   silent    no answer
//   late-...  registers after LATENESS; what ends a registration is carried out at once
//   proxied   asked for its password by 407
class Kamailio
{
public:
    static constexpr char SECRET[] = "secret";
    // Less than the time after which a request over UDP is sent again: each copy would be carried out.
    static constexpr std::chrono::milliseconds LATENESS{400};

    struct Options
    {
        std::string password = SECRET;
        int longestBindingSeconds = 3600;
        // TLS is served when there is a certificate, named by its file and that of its key.
        std::filesystem::path certificate = {};
        std::filesystem::path key = {};
    };

    // Keeps its files in a directory that it makes in that one.
    explicit Kamailio(const std::filesystem::path& directory);
    Kamailio(const std::filesystem::path& directory, Options options);
    ~Kamailio();

    // Serves, on the same ports each time. Fails the test when it cannot.
    void start();
    // Stops at once, and forgets all.
    void die();

    // Whether it serves ::1, too.
    static bool hasIpv6();

    int port() const { return port_; }
    int tlsPort() const { return tlsPort_; }

    struct Registered
    {
        std::string contact;
        std::string transport; // what it came by: udp, tcp, tls
        int sequence = 0;      // of the REGISTER that made or renewed it
    };
    // The user's binding, when there is one. There is never more than one in these tests; two fail the test.
    std::optional<Registered> registered(const std::string& user) const;
    // Whether it had a binding since the start, if only for a moment.
    bool hasEverRegistered(const std::string& user) const;

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
