#ifndef SIPPROFILE_H
#define SIPPROFILE_H

#include "RegistrarAddress.h"

#include <optional>
#include <string>
#include <vector>

// What the daemon needs of a profile. Texts are UTF-8.
struct SipProfile
{
    RegistrarAddress registrar;
    std::string user;
    std::string password;

    bool operator==(const SipProfile&) const = default;
};

// Whether it has the form of a profile's group name: "Profile" and a number without leading zeros.
bool isProfileGroup(const std::string& group);

// Reads the profile from the settings file as it is now. Nothing when there is no such profile, or nobody
// could register with it: no user, or no address that makes sense. Blocks for one file read.
std::optional<SipProfile> readProfile(const std::string& group);

// Whether the settings file says what profiles there are: it is sound, or there is none. Blocks for one file
// read.
bool isSettingsFileSound();

// Whether there is such a profile, of any kind. Blocks for one file read.
bool hasProfile(const std::string& group);

// The groups of the profiles that are to be connected when the daemon starts. Blocks for one file read.
std::vector<std::string> autoConnectGroups();

#endif
