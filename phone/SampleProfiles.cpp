// sample-profiles: writes five profiles into the settings directory, as far as they are not there yet.
#include "SETUP_SIP_Agent.h"

#include <cstdio>

namespace {
struct Sample
{
    const char* name;
    bool locked;
    bool needUserIDPass;
};

// One of each kind that the screens show in its own way.
constexpr Sample SAMPLES[] = {
    {"Home", false, true},           {"Office", true, true},
    {"Reception desk", true, false}, {"Conference room on the second floor, east wing", false, true},
    {"Дача у моря", false, true},
};
constexpr char DEFAULT_SAMPLE[] = "Home";

void add(SETUP_SIP_Agent* store, const Sample& sample)
{
    const QString name = QString::fromUtf8(sample.name);
    if (store->isProfileExisted(name))
        return;
    SIP_PROFILE_CONTENT record;
    store->setDefaultProfileInfo(record);
    record.displayName = name;
    record.server = "sip.example.com";
    record.userID = "anna";
    record.password = "secret";
    record.locked = sample.locked;
    record.needUserIDPass = sample.needUserIDPass;
    store->setProfileInfo(record, name);
}
} // namespace

int main()
{
    SETUP_SIP_Agent* store = SETUP_SIP_Agent::instance();
    for (const Sample& sample : SAMPLES)
        add(store, sample);
    store->setDefaultProfile(DEFAULT_SAMPLE);
    SETUP_SIP_Agent::cleanup();
    return 0;
}
