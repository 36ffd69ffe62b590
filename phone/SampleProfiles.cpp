// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// sample-profiles: writes five profiles into the settings directory, as far as they are not there yet, and
// prints how each fares with the demo registrar.
#include "SETUP_SIP_Agent.h"

#include <cstdio>

namespace {
constexpr char DEMO_REGISTRAR[] = "127.0.0.1";
constexpr unsigned int CLOSED_PORT = 9;

struct Sample
{
    const char* name;
    const char* userID;
    const char* fate;
    unsigned int portNum;
    bool locked;
    bool needUserIDPass;
};

// One of each kind that the screens show in its own way, and one for each outcome of connecting.
constexpr Sample SAMPLES[] = {
    {"Home", "anna", "connects", DEMO_REGISTRAR_PORT, false, true},
    {"Office", "ben", "has a wrong password", DEMO_REGISTRAR_PORT, true, true},
    {"Reception desk", "reception", "connects without asking", DEMO_REGISTRAR_PORT, true, false},
    {"Conference room on the second floor, east wing", "anna", "does not reach its server", CLOSED_PORT,
     false, true},
    {"Дача у моря", "busy", "finds its server busy", DEMO_REGISTRAR_PORT, false, true},
};
constexpr char PASSWORD[] = "secret";
constexpr char DEFAULT_SAMPLE[] = "Home";

void add(SETUP_SIP_Agent* store, const Sample& sample)
{
    const QString name = QString::fromUtf8(sample.name);
    if (store->isProfileExisted(name))
        return;
    SIP_PROFILE_CONTENT record;
    store->setDefaultProfileInfo(record);
    record.displayName = name;
    record.server = DEMO_REGISTRAR;
    record.portNum = sample.portNum;
    record.userID = sample.userID;
    record.password = PASSWORD;
    record.autoConnect = false;
    record.locked = sample.locked;
    record.needUserIDPass = sample.needUserIDPass;
    store->setProfileInfo(record, name);
}

void describe(const Sample& sample)
{
    std::printf("  %s: %s", sample.name, sample.fate);
    if (sample.needUserIDPass)
        std::printf(" (user %s, password %s)", sample.userID, PASSWORD);
    std::puts("");
}
} // namespace

int main()
{
    SETUP_SIP_Agent* store = SETUP_SIP_Agent::instance();
    for (const Sample& sample : SAMPLES)
        add(store, sample);
    store->setDefaultProfile(DEFAULT_SAMPLE);
    SETUP_SIP_Agent::cleanup();
    for (const Sample& sample : SAMPLES)
        describe(sample);
    return 0;
}
