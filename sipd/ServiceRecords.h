#ifndef SERVICERECORDS_H
#define SERVICERECORDS_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

// A server of a domain.
struct ServiceTarget
{
    std::string host;  // Printable ASCII. Empty when the domain has no such service.
    uint16_t port = 0; // Never 0 with a host.
    int priority = 0;
    int weight = 0;

    bool operator==(const ServiceTarget&) const = default;
};

// Parses the SRV records of a DNS message: at most eight targets, best first. Skips records that are damaged
// or name port 0.
std::vector<ServiceTarget> parseServiceRecords(std::span<const unsigned char> message);

#endif
