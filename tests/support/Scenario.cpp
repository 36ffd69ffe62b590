// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Scenario.h"

#include <charconv>

namespace {

// The SDP body is kept in memory. No client takes a longer one.
constexpr uint32_t longestSdp = 65536;

} // namespace

const std::vector<ScenarioEntry>& allScenarios()
{
    static const std::vector<ScenarioEntry> entries = {
        {"admit", "admits every client, carries out every request at once, answers queries truthfully",
         [](Scenario&, uint32_t) {}},
        {"friendly", "like admit, but connecting and disconnecting take two seconds",
         [](Scenario& s, uint32_t) { s.ackDelay = std::chrono::seconds(2); }},
        {"refuse", "refuses every client", [](Scenario& s, uint32_t) { s.registrationAck = 1; }},
        {"registration-ack:N", "acknowledges the registration with N",
         [](Scenario& s, uint32_t n) { s.registrationAck = n; }},
        {"ack:N", "acknowledges every request with N",
         [](Scenario& s, uint32_t n) { s.connectAck = s.disconnectAck = s.setNameAck = n; }},
        {"connect-ack:N", "acknowledges connect requests with N",
         [](Scenario& s, uint32_t n) { s.connectAck = n; }},
        {"disconnect-ack:N", "acknowledges disconnect requests with N",
         [](Scenario& s, uint32_t n) { s.disconnectAck = n; }},
        {"late:N", "acknowledges requests after N milliseconds",
         [](Scenario& s, uint32_t n) { s.ackDelay = std::chrono::milliseconds(n); }},
        {"status:N", "reports the status N for every profile", [](Scenario& s, uint32_t n) { s.status = n; }},
        {"status-message:N",
         "after admission sends a status message with an SDP body of N bytes, 65536 at most",
         [](Scenario& s, uint32_t n) { s.statusMessageSdp = n; }, longestSdp},
        {"single-bytes", "sends every byte alone", [](Scenario& s, uint32_t) { s.singleBytes = true; }},
        {"split-after:N", "pauses after the Nth byte of what it sends",
         [](Scenario& s, uint32_t n) { s.splitAfter = n; }},
        {"close-after:N", "closes after the Nth byte of what it sends",
         [](Scenario& s, uint32_t n) { s.closeAfter = n; }},
        {"reset", "admits, then closes without reading the next request",
         [](Scenario& s, uint32_t) { s.resets = true; }},
        {"silent", "answers nothing at all",
         [](Scenario& s, uint32_t) { s.answersRegistration = s.answersLater = false; }},
        {"never-answer", "admits, then answers nothing",
         [](Scenario& s, uint32_t) { s.answersLater = false; }},
        {"wrong-type:N", "announces the message type N in every answer but the registration's",
         [](Scenario& s, uint32_t n) { s.laterType = n; }},
        {"wrong-length:N", "announces the body length N in every answer but the registration's",
         [](Scenario& s, uint32_t n) { s.laterLength = n; }},
        {"registration-type:N", "announces the message type N in the registration's answer",
         [](Scenario& s, uint32_t n) { s.registrationType = n; }},
        {"registration-length:N", "announces the body length N in the registration's answer",
         [](Scenario& s, uint32_t n) { s.registrationLength = n; }},
    };
    return entries;
}

std::optional<Scenario> findScenario(std::string_view name)
{
    const size_t colon = name.find(':');
    const std::string_view stem = name.substr(0, colon);
    uint32_t number = 0;
    if (colon != std::string_view::npos) {
        const char* const end = name.data() + name.size();
        const auto [last, error] = std::from_chars(name.data() + colon + 1, end, number);
        if (error != std::errc{} || last != end)
            return std::nullopt;
    }
    const std::string listed = std::string(stem) + (colon == std::string_view::npos ? "" : ":N");
    for (const ScenarioEntry& entry : allScenarios()) {
        if (entry.name == listed && number <= entry.highest) {
            Scenario scenario;
            entry.apply(scenario, number);
            return scenario;
        }
    }
    return std::nullopt;
}
