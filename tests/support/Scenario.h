// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SCENARIO_H
#define SCENARIO_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The behaviour of a scripted daemon. By default it admits every client, carries out every request at once,
// remembers the connected profiles and answers queries truthfully.
struct Scenario
{
    // The values of its acks. Only a request with the ack 0 has an effect.
    uint32_t registrationAck = 0;
    uint32_t connectAck = 0;
    uint32_t disconnectAck = 0;
    uint32_t setNameAck = 0;
    // Unless it is empty, the acks of the requests are these values in turn.
    std::vector<uint32_t> acksInTurn;
    // The time from a request to its ack.
    std::chrono::milliseconds ackDelay{0};
    // The status of every profile; otherwise 2 for a connected one and 0 for the others.
    std::optional<uint32_t> status;

    bool answersRegistration = true;
    bool answersLater = true; // anything after the registration
    // Closes when the first message after the registration arrives, without reading it.
    bool resets = false;
    // Announced in the headers of its answers instead of the true values.
    std::optional<uint32_t> registrationType, registrationLength;
    std::optional<uint32_t> laterType, laterLength;
    // The length of the SDP body of a status message that follows the answer to the registration.
    std::optional<uint32_t> statusMessageSdp;

    // Counted over all bytes that it sends on one connection. A piece is sent when the client has read the
    // last one.
    std::optional<size_t> splitAfter;
    bool singleBytes = false;
    std::optional<size_t> closeAfter;

    bool operator==(const Scenario&) const = default;
};

struct ScenarioEntry
{
    std::string_view name; // ends in ":N" when it takes a number
    std::string_view meaning;
    void (*apply)(Scenario& scenario, uint32_t number);
    uint32_t highest = std::numeric_limits<uint32_t>::max(); // the largest number that it takes
};

// Every scenario, in the order of display.
const std::vector<ScenarioEntry>& allScenarios();

// "admit", or with a number "ack:3". Nothing when there is no such scenario.
std::optional<Scenario> findScenario(std::string_view name);

#endif
