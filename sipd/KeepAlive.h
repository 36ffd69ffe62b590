// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef KEEPALIVE_H
#define KEEPALIVE_H

#include <chrono>

// How long a NAT may be left without a packet. It is found out by refreshing the registration after longer
// and longer silences: as long as the server sees the same address and port afterwards, the NAT has kept its
// mapping.
class KeepAlive
{
public:
    // Longer silences than the longest are not tried.
    explicit KeepAlive(std::chrono::seconds longest) : longest_(longest) {}

    // The silence until the next packet.
    std::chrono::seconds silence() const { return isSettled_ ? known_ : tried(); }
    // Whether that packet is a refresh, whose answer says if the mapping has lasted. Otherwise it is a
    // keep-alive.
    bool isProbe() const { return !isSettled_; }
    // Takes what a refresh has shown after that silence.
    void learn(bool hasLasted, std::chrono::seconds silence);

private:
    std::chrono::seconds tried() const;

    const std::chrono::seconds longest_;
    std::chrono::seconds known_{20}; // that a mapping lasts
    bool isSettled_ = false;
};

#endif
