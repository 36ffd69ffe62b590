// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Reads arbitrary text as a scenario's name and plays the scenario, if it is one.
//
// An input is one byte (a 16th of the bytes that the client sends before it closes) and the name.

#include "DaemonAddress.h"
#include "DaemonSocketClaim.h"
#include "Require.h"
#include "ScriptedDaemon.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <poll.h>
#include <set>
#include <string>
#include <unistd.h>

// The scenarios that were played, without their numbers, for the test that replays inputs.
std::set<std::string> playedScenarios;

namespace {

// For hangs only.
constexpr int hangLimitInMilliseconds = 600000;
constexpr size_t mostIsSent = 128UL * 1024;

const std::string& requests()
{
    static const std::string bytes = [] {
        std::string result = encodeMessage({SIPD_MSG_REGISTER, SIPD_APPID_SETUP, {}});
        for (const auto request : {PROFILE_CTRL_CONNECT, PROFILE_CTRL_GET_STATUS, PROFILE_CTRL_SET_NAME,
                                   PROFILE_CTRL_GET_NAME, PROFILE_CTRL_DISCONNECT}) {
            _SIPD_MSG_PROFILE_S profile = {};
            profile.request = request;
            std::strcpy(profile.name, "Profile0");
            result += encodeMessage({SIPD_MSG_PROFILE, SIPD_APPID_SETUP, encodeProfileBody(profile)});
        }
        return result;
    }();
    return bytes;
}

// Sends, closes the sending side, and reads until the daemon closes.
void converse(size_t sent)
{
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    require(atDaemonsPath(connect, fd) == 0);
    require(send(fd, requests().data(), sent, MSG_NOSIGNAL) == static_cast<ssize_t>(sent));
    require(shutdown(fd, SHUT_WR) == 0);
    size_t received = 0;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 1; count > 0; received += static_cast<size_t>(std::max<ssize_t>(count, 0))) {
        pollfd polled = {fd, POLLIN, 0};
        require(poll(&polled, 1, hangLimitInMilliseconds) == 1);
        count = recv(fd, buffer.data(), buffer.size(), 0);
    }
    require(received <= mostIsSent);
    close(fd);
}

void play(const Scenario& scenario, size_t sent)
{
    static const DaemonSocketClaim claim;
    require(claim.problem().empty());
    ScriptedDaemon daemon(scenario);
    require(daemon.start().empty());
    converse(std::min(sent, requests().size()));
    require(daemon.waitForClosed(1));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const std::string name(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto scenario = findScenario(name);
    if (!scenario)
        return 0;
    const size_t colon = std::min(name.find(':'), name.size());
    const std::string stem = name.substr(0, colon);
    if (colon < name.size()) {
        uint32_t number = 0;
        const auto [end, error] = std::from_chars(name.data() + colon + 1, name.data() + name.size(), number);
        require(error == std::errc{} && end == name.data() + name.size());
        require(findScenario(stem + ':' + std::to_string(number)) == scenario);
    }
    play(*scenario, 16UL * data[0]);
    playedScenarios.insert(stem);
    return 0;
}
