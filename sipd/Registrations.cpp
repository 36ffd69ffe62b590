// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Registrations.h"

#include "Log.h"

#include <algorithm>
#include <utility>

namespace {

constexpr size_t MOST_NAMES = 256;

// An edited settings file may have any number of profiles.
constexpr size_t MOST_CONNECTED_AUTOMATICALLY = 100;

} // namespace

Registrations::Registrations(const SipServices& services)
    : services_(services), path_(settingsFilePath()),
      watch_(services.loop, services.clock, path_, [this] { review(); })
{
}

void Registrations::connect(const std::string& group, RequestObserver* observer)
{
    if (!isProfileGroup(group)) {
        observer->acknowledge(SIPD_ACK_INCORRECT_PROFILE);
        return;
    }
    request({true, group, observer});
}

void Registrations::disconnect(const std::string& group, RequestObserver* observer)
{
    request({false, group, observer});
}

// A request while the file is being written means the numbers in the complete file.
void Registrations::request(const Request& request)
{
    watch_.catchUp();
    if (!waiting_.empty() || isIncomplete()) {
        waiting_.push_back(request);
        return;
    }
    readIfUnsure();
    carryOut(request);
}

void Registrations::carryOut(const Request& request)
{
    if (request.isConnect) {
        registration(request.group).connect(request.observer, profile(request.group));
        return;
    }
    const auto found = registrations_.find(request.group);
    if (found == registrations_.end())
        request.observer->acknowledge(SIPD_ACK_SUCCESS);
    else
        found->second->disconnect(request.observer);
}

// A file that was only touched is complete.
bool Registrations::isIncomplete() const
{
    if (!watch_.isSettling())
        return false;
    const ProfileReading reading = readProfiles(path_);
    return reading.state != ProfileReading::State::Read || reading.profiles != profiles_;
}

// The watch may have missed a change.
void Registrations::readIfUnsure()
{
    if (!isRead_ || !watch_.isComplete())
        review();
}

ConnectionStatus Registrations::status(const std::string& group)
{
    watch_.catchUp();
    const bool isWaiting = std::any_of(waiting_.begin(), waiting_.end(), [&](const Request& request) {
        return request.isConnect && request.group == group;
    });
    if (isWaiting)
        return ConnectionStatus::Working;
    const auto found = registrations_.find(group);
    return found == registrations_.end() ? ConnectionStatus::NotConnected : found->second->status();
}

void Registrations::forget(RequestObserver* observer)
{
    std::erase_if(waiting_, [&](const Request& request) { return request.observer == observer; });
    for (const auto& [group, registration] : registrations_)
        registration->forget(observer);
    for (const auto& registration : leaving_)
        registration->forget(observer);
}

_SIPD_APP_ACK_E Registrations::setName(uint32_t application, const std::string& name)
{
    watch_.catchUp();
    if (names_.size() >= MOST_NAMES && !names_.contains(application))
        return SIPD_ACK_FAILED;
    names_[application] = name;
    return SIPD_ACK_SUCCESS;
}

std::string Registrations::name(uint32_t application)
{
    watch_.catchUp();
    const auto found = names_.find(application);
    return found == names_.end() ? "" : found->second;
}

void Registrations::connectAutomatically()
{
    ProfileReading reading = readProfiles(path_);
    profiles_ = std::move(reading.profiles);
    isRead_ = reading.state == ProfileReading::State::Read;
    if (isRead_)
        start();
}

void Registrations::start()
{
    hasStarted_ = true;
    size_t count = 0;
    for (const auto& [group, profile] : profiles_) {
        if (profile.autoConnect && ++count <= MOST_CONNECTED_AUTOMATICALLY)
            registration(group).keepConnected(profile.sip);
    }
}

void Registrations::review()
{
    if (isEnding_)
        return;
    ProfileReading reading = readProfiles(path_);
    isRead_ = reading.state == ProfileReading::State::Read;
    if (isRead_)
        adopt(std::move(reading.profiles));
    else
        SIPD_DETAIL("the settings file is missing or not readable, the profiles stay as they are");
    // An observer may make another request.
    while (!waiting_.empty()) {
        const Request request = std::move(waiting_.front());
        waiting_.pop_front();
        carryOut(request);
    }
}

void Registrations::reviewNetwork()
{
    // A retry may read new numbers from the settings file.
    std::vector<Registration*> all;
    for (const auto& [group, registration] : registrations_)
        all.push_back(registration.get());
    for (Registration* registration : all)
        registration->reviewNetwork();
}

void Registrations::adopt(StoredProfiles profiles)
{
    const StoredProfiles before = std::exchange(profiles_, std::move(profiles));
    const ProfilePlaces places = matchProfiles(before, profiles_, groupsInUse());
    moveNames(before, places);
    moveRegistrations(places);
    for (const auto& [group, registration] : registrations_)
        registration->reviewProfile(profile(group));
    if (!hasStarted_)
        start();
}

void Registrations::moveNames(const StoredProfiles& before, const ProfilePlaces& places)
{
    std::erase_if(names_, [&](const auto& entry) {
        return before.contains(entry.second) && !places.contains(entry.second);
    });
    for (auto& [application, name] : names_) {
        if (const auto place = places.find(name); place != places.end())
            name = place->second;
    }
}

// Deleted profiles move to leaving_, since another profile may need the number at once.
void Registrations::moveRegistrations(const ProfilePlaces& places)
{
    auto registrations = std::exchange(registrations_, {});
    const size_t firstDeleted = leaving_.size();
    for (auto& [group, registration] : registrations) {
        const auto place = places.find(group);
        if (place == places.end()) {
            leaving_.push_back(std::move(registration));
            continue;
        }
        if (place->second != group)
            SIPD_DETAIL("%s is %s now", group.c_str(), place->second.c_str());
        registration->moveTo(place->second);
        registrations_[place->second] = std::move(registration);
    }
    for (size_t i = firstDeleted; i < leaving_.size(); ++i)
        leaving_[i]->endDeleted();
}

std::set<std::string> Registrations::groupsInUse() const
{
    std::set<std::string> groups;
    for (const auto& [group, registration] : registrations_) {
        if (!registration->isIdle())
            groups.insert(group);
    }
    return groups;
}

// From the last reading.
std::optional<SipProfile> Registrations::profile(const std::string& group) const
{
    const auto found = profiles_.find(group);
    return found == profiles_.end() ? std::nullopt : found->second.sip;
}

void Registrations::retry(Registration& registration)
{
    watch_.catchUp();
    readIfUnsure();
    if (!registration.isPausing())
        return;
    if (isRead_ && !watch_.isSettling())
        registration.keepConnected(profile(registration.group()));
    else
        registration.postpone();
}

void Registrations::end()
{
    isEnding_ = true;
    for (const Request& request : std::exchange(waiting_, {}))
        request.observer->acknowledge(request.isConnect ? SIPD_ACK_FAILED : SIPD_ACK_SUCCESS);
    for (const auto& [group, registration] : registrations_)
        registration->end();
}

void Registrations::reap()
{
    for (const auto& [group, registration] : registrations_)
        registration->reap();
    for (const auto& registration : leaving_)
        registration->reap();
    std::erase_if(registrations_, [](const auto& entry) { return entry.second->isIdle(); });
    std::erase_if(leaving_, [](const auto& registration) { return registration->isIdle(); });
}

Registration& Registrations::registration(const std::string& group)
{
    auto& registration = registrations_[group];
    if (!registration)
        registration =
            std::make_unique<Registration>(services_, group, [this](Registration& paused) { retry(paused); });
    return *registration;
}
