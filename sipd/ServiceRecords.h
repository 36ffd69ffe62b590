#ifndef SERVICERECORDS_H
#define SERVICERECORDS_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

// A server that a domain names for a service.
struct ServiceTarget
{
    std::string host;  // Printable ASCII. Empty: the domain says that it has no such service.
    uint16_t port = 0; // Never 0 where there is a host.
    int priority = 0;
    int weight = 0;

    bool operator==(const ServiceTarget&) const = default;
};

// What a DNS message answers about a service (SRV records): at most eight targets, best first. None when it
// is no such answer. A record that is damaged or names port 0 is left out.
std::vector<ServiceTarget> parseServiceRecords(std::span<const unsigned char> message);

#endif
