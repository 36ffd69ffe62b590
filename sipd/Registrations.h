// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef REGISTRATIONS_H
#define REGISTRATIONS_H

#include "ProfileMatch.h"
#include "ProfileWatch.h"
#include "Registration.h"

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

// The connections of all profiles, by their groups in the settings file, and the names that applications have
// set. Observers learn the end of a request within the call or later from the loop.
//
// Connections and names follow their profiles when a new settings file gives these other numbers. Requests
// and queries after the replacement mean the new numbers. While the file is being written in place, requests
// wait, since it may be incomplete. A settings file that is missing or cannot be read changes nothing.
class Registrations
{
public:
    explicit Registrations(const SipServices& services);

    void connect(const std::string& group, RequestObserver* observer);
    void disconnect(const std::string& group, RequestObserver* observer);
    ConnectionStatus status(const std::string& group);
    void forget(RequestObserver* observer);

    // The name that an application has set. Empty without one, or when that profile has been deleted.
    _SIPD_APP_ACK_E setName(uint32_t application, const std::string& name);
    std::string name(uint32_t application);

    // Connects all profiles that connect automatically, as soon as the settings file can be read.
    void connectAutomatically();
    // Takes notice that this machine's network has changed.
    void reviewNetwork();
    // Disconnects everything, for good.
    void end();

    // Deletes registrations that have ended. Call it between two steps of the loop.
    void reap();
    bool isEmpty() const { return registrations_.empty() && leaving_.empty(); }

private:
    struct Request
    {
        bool isConnect;
        std::string group;
        RequestObserver* observer;
    };

    void review();
    void adopt(StoredProfiles profiles);
    void readIfUnsure();
    bool isIncomplete() const;
    void request(const Request& request);
    void carryOut(const Request& request);
    void start();
    void moveNames(const StoredProfiles& before, const ProfilePlaces& places);
    void moveRegistrations(const ProfilePlaces& places);
    std::set<std::string> groupsInUse() const;
    std::optional<SipProfile> profile(const std::string& group) const;
    void retry(Registration& registration);
    Registration& registration(const std::string& group);

    const SipServices services_;
    const std::string path_;      // of the settings file
    StoredProfiles profiles_;     // from the last reading; registrations_ has the same numbers
    bool isRead_ = false;         // the last reading succeeded
    std::deque<Request> waiting_; // until the file is complete
    std::map<std::string, std::unique_ptr<Registration>> registrations_;
    std::vector<std::unique_ptr<Registration>> leaving_; // of deleted profiles
    std::map<uint32_t, std::string> names_;              // of the applications
    bool hasStarted_ = false;                            // automatic connections have been started
    bool isEnding_ = false;
    ProfileWatch watch_;
};

#endif
