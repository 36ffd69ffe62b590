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
    bool locked;
    bool needUserIDPass;
    const char* userID;
    unsigned int portNum;
    const char* fate;
};

// One of each kind that the screens show in its own way, and one for each outcome of connecting.
constexpr Sample SAMPLES[] = {
    {"Home", false, true, "anna", DEMO_REGISTRAR_PORT, "connects"},
    {"Office", true, true, "ben", DEMO_REGISTRAR_PORT, "has a wrong password"},
    {"Reception desk", true, false, "reception", DEMO_REGISTRAR_PORT, "connects without asking"},
    {"Conference room on the second floor, east wing", false, true, "anna", CLOSED_PORT,
     "does not reach its server"},
    {"Дача у моря", false, true, "busy", DEMO_REGISTRAR_PORT, "finds its server busy"},
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
