// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SERVICERECORDS_H
#define SERVICERECORDS_H

#include "RegistrarAddress.h"

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

// A SIP service of a domain: the name of its SRV records.
struct ServiceName
{
    std::string name; // Printable ASCII, not empty.
    Transport transport = Transport::Udp;
    int order = 0;
    int preference = 0;

    bool operator==(const ServiceName&) const = default;
};

// Parses the NAPTR records of a DNS message: at most eight services that the daemon has a transport for, best
// first. Skips damaged records.
std::vector<ServiceName> parseServiceNames(std::span<const unsigned char> message);

#endif
