// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// scripted-sipd: plays a scenario on the daemon's socket until it is interrupted, and prints every message.

#include "ScriptedDaemon.h"

#include <csignal>
#include <cstdio>
#include <cstring>

namespace {

void print(int client, const SipdMessage& message)
{
    std::printf("client %d: %s\n", client, describe(message).c_str());
    std::fflush(stdout);
}

void list()
{
    for (const ScenarioEntry& entry : allScenarios())
        std::printf("%-22s %s\n", std::string(entry.name).c_str(), std::string(entry.meaning).c_str());
}

int usage(std::FILE* stream)
{
    std::fprintf(stream,
                 "usage: scripted-sipd SCENARIO    play it on %s until interrupted\n"
                 "       scripted-sipd --list      name the scenarios\n",
                 SIPD_SOCKET_PATH);
    return stream == stdout ? 0 : 2;
}

int play(const Scenario& scenario)
{
    sigset_t ends;
    sigemptyset(&ends);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&ends, signal);
    // Before the daemon's thread starts, so that it inherits the mask.
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);

    ScriptedDaemon daemon(scenario, print);
    const std::string problem = daemon.start();
    if (!problem.empty()) {
        std::fprintf(stderr, "scripted-sipd: %s\n", problem.c_str());
        return 1;
    }
    std::printf("listening on %s\n", SIPD_SOCKET_PATH);
    std::fflush(stdout);
    int signal = 0;
    sigwait(&ends, &signal);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
        return usage(stderr);
    if (std::strcmp(argv[1], "--help") == 0)
        return usage(stdout);
    if (std::strcmp(argv[1], "--list") == 0) {
        list();
        return 0;
    }
    const auto scenario = findScenario(argv[1]);
    if (!scenario) {
        std::fprintf(stderr, "scripted-sipd: no scenario \"%s\"; --list names them\n", argv[1]);
        return 2;
    }
    return play(*scenario);
}
