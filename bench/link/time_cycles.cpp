// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// time_cycles: prints the wall time of the library's cycles and the bare client's, on one core together
// with the daemon, and the median of the ratios of neighbouring runs.

#include "DaemonSocketClaim.h"
#include "ScriptedDaemon.h"
#include "cycles.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <sched.h>
#include <vector>

namespace {

constexpr int pairs = 101;
constexpr int cyclesInARun = 100;

using Cycle = int (*)(const char*, uint32_t*);

double microsecondsOf(Cycle cycle)
{
    uint32_t status = 0;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < cyclesInARun; ++i)
        if (cycle("Profile0", &status) != 0)
            std::exit(1);
    const std::chrono::duration<double, std::micro> duration = std::chrono::steady_clock::now() - start;
    return duration.count() / cyclesInARun;
}

double medianOf(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main()
{
    cpu_set_t core;
    CPU_ZERO(&core);
    CPU_SET(sched_getcpu(), &core);
    sched_setaffinity(0, sizeof(core), &core);

    const DaemonSocketClaim claim;
    ScriptedDaemon daemon{Scenario{}};
    const std::string problem = claim.problem().empty() ? daemon.start() : claim.problem();
    if (!problem.empty()) {
        std::fprintf(stderr, "time_cycles: %s\n", problem.c_str());
        return 1;
    }

    std::vector<double> bare, library, ratios;
    for (int i = 0; i < pairs; ++i) {
        // They take turns in being the first.
        const bool bareFirst = i % 2 == 0;
        const double first = microsecondsOf(bareFirst ? bareCycle : libraryCycle);
        const double second = microsecondsOf(bareFirst ? libraryCycle : bareCycle);
        bare.push_back(bareFirst ? first : second);
        library.push_back(bareFirst ? second : first);
        ratios.push_back(library.back() / bare.back());
    }
    std::printf("wall time: bare %.1f us, library %.1f us, median ratio of %d pairs %.3f (at most 1.1)\n",
                medianOf(bare), medianOf(library), pairs, medianOf(ratios));
    return 0;
}
