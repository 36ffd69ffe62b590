// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SIPPROFILE_H
#define SIPPROFILE_H

#include "ProfileSchema.h"
#include "RegistrarAddress.h"

#include <map>
#include <optional>
#include <string>

// What the daemon needs of a profile. Texts are UTF-8.
struct SipProfile
{
    RegistrarAddress registrar; // its host is also the domain of the identity
    std::string user;
    std::string password;
    // Where redirects have led to. The settings file has neither.
    std::optional<RegistrarAddress> redirected = {}; // a registrar in place of that one
    std::optional<RegistrarAddress> proxy = {};      // on the way to the registrar

    // The server of the Request-URI.
    const RegistrarAddress& target() const { return redirected ? *redirected : registrar; }
    // The server that gets the request, and whose name its certificate must have.
    const RegistrarAddress& nextHop() const { return proxy ? *proxy : target(); }
    void setNextHop(const RegistrarAddress& server)
    {
        (proxy ? *proxy : redirected ? *redirected : registrar) = server;
    }

    bool operator==(const SipProfile&) const = default;
};

// A profile as the settings file has it.
struct StoredProfile
{
    // Every key of its group but the mark of the default, with its value as it stands in the file.
    std::map<std::string, std::string> content;
    std::string displayName;
    bool autoConnect = false;
    std::optional<SipProfile> sip; // nothing when no server could register it: no user, no sensible address

    bool operator==(const StoredProfile&) const = default;
};

// Orders groups by their numbers.
struct GroupOrder
{
    bool operator()(const std::string& first, const std::string& second) const;
};

// The profiles of the settings file by their groups.
using StoredProfiles = std::map<std::string, StoredProfile, GroupOrder>;

// The absolute path of the settings file. Makes its directory if it can.
std::string settingsFilePath();

// What a read of the settings file found.
struct ProfileReading
{
    enum class State {
        Read,
        NoFile, // but a directory for it
        Failed  // it cannot be read or parsed, or its directory is away
    };
    State state = State::Failed;
    StoredProfiles profiles; // when it was read
};

// Reads all profiles in one go. Logs what fails, but for a missing file. Blocks for one file read.
ProfileReading readProfiles(const std::string& path);

#endif
