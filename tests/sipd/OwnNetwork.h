// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef OWN_NETWORK_H
#define OWN_NETWORK_H

#include <functional>
#include <string>

// A network that has nothing but a loopback that is up, and what a check has beside it.
struct OwnNetwork
{
    bool hasInterface = false; // with the IPv4 address 192.0.2.1, and of IPv6 only an address of the link
    std::string file = {};     // mounted on place
    std::string place = {};
};

// Runs the check in a child with that network, and fails the test unless it holds and expects nothing in
// vain. Skips the test where this user may not have such a network.
void checkInOwnNetwork(const OwnNetwork& network, const std::function<bool()>& holds);

// For such a check: gives the interface another IPv4 address in place of its own.
bool changeAddress(const std::string& address);

#endif
