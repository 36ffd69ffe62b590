// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// store_times: how long the store's operations take on this machine, disk included. To be read by people;
// what must hold is counted by store-cost and by the tests.
#include "SETUP_SIP_Agent.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

// A settings directory of its own with so many profiles.
class Profiles
{
public:
    explicit Profiles(int64_t count)
    {
        qputenv("ORMU_SETTING_DIR", directory_.path().toUtf8());
        SETUP_SIP_Agent::cleanup();
        for (int64_t i = 0; i < count; ++i) {
            SIP_PROFILE_CONTENT record;
            record.displayName = nameOf(i);
            SETUP_SIP_Agent::instance()->setProfileInfo(record, record.displayName);
        }
        SETUP_SIP_Agent::cleanup();
    }
    ~Profiles() { SETUP_SIP_Agent::cleanup(); }
    Profiles(const Profiles&) = delete;
    Profiles& operator=(const Profiles&) = delete;

    static QString nameOf(int64_t number) { return QStringLiteral("Profile number %1").arg(number); }

private:
    QTemporaryDir directory_;
};

void load(benchmark::State& state)
{
    const Profiles profiles(state.range(0));
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(SETUP_SIP_Agent::instance());
        SETUP_SIP_Agent::cleanup();
    }
    state.SetComplexityN(state.range(0));
}

void changeProfile(benchmark::State& state)
{
    const Profiles profiles(state.range(0));
    SIP_PROFILE_CONTENT record;
    record.displayName = Profiles::nameOf(0);
    for ([[maybe_unused]] auto _ : state) {
        ++record.portNum;
        SETUP_SIP_Agent::instance()->setProfileInfo(record, record.displayName);
    }
}

void moveDefault(benchmark::State& state)
{
    const Profiles profiles(state.range(0));
    int64_t next = 0;
    for ([[maybe_unused]] auto _ : state)
        SETUP_SIP_Agent::instance()->setDefaultProfile(Profiles::nameOf(next++ % 2));
}

BENCHMARK(load)->Arg(1)->Arg(10)->Arg(100)->Complexity(benchmark::oN)->Unit(benchmark::kMicrosecond);
BENCHMARK(changeProfile)->Arg(10)->Unit(benchmark::kMicrosecond);
BENCHMARK(moveDefault)->Arg(10)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
