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

// How a scripted daemon behaves. As it stands: well, and at once. It admits every client, carries out every
// request, remembers who is connected and answers queries truthfully.
struct Scenario
{
    // The values that it acknowledges with. Only a request that is acknowledged with 0 changes anything.
    uint32_t registrationAck = 0;
    uint32_t connectAck = 0;
    uint32_t disconnectAck = 0;
    uint32_t setNameAck = 0;
    // When there are any, each request is acknowledged with the next of these instead, over and over.
    std::vector<uint32_t> acksInTurn;
    // How long after a request its ack is sent.
    std::chrono::milliseconds ackDelay{0};
    // Reported for every profile; otherwise 2 for a connected one and 0 for the rest.
    std::optional<uint32_t> status;

    bool answersRegistration = true;
    bool answersLater = true; // anything after the registration
    // Closes on what follows the registration, without reading it.
    bool resets = false;
    // Announced in the heads of its answers, instead of the truth.
    std::optional<uint32_t> registrationType, registrationLength;
    std::optional<uint32_t> laterType, laterLength;
    // A status message with an SDP body of that length, sent right after the registration is answered.
    std::optional<uint32_t> statusMessageSdp;

    // Counted over all that it sends on one connection. The next bytes wait until the client has read the
    // last.
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
    uint32_t highest = std::numeric_limits<uint32_t>::max(); // of the numbers that it takes
};

// Every scenario there is, in the order in which to show them.
const std::vector<ScenarioEntry>& allScenarios();

// "admit", or with a number "ack:3". Nothing when there is no such scenario.
std::optional<Scenario> findScenario(std::string_view name);

#endif
