#include "Registrations.h"

void Registrations::connect(const std::string& group, Requester* requester)
{
    if (!isProfileGroup(group)) {
        requester->acknowledge(SIPD_ACK_INCORRECT_PROFILE);
        return;
    }
    registration(group).connect(requester);
}

void Registrations::disconnect(const std::string& group, Requester* requester)
{
    const auto found = registrations_.find(group);
    if (found == registrations_.end())
        requester->acknowledge(SIPD_ACK_SUCCESS);
    else
        found->second->disconnect(requester);
}

ConnectionStatus Registrations::status(const std::string& group) const
{
    const auto found = registrations_.find(group);
    return found == registrations_.end() ? ConnectionStatus::NotConnected : found->second->status();
}

void Registrations::forget(Requester* requester)
{
    for (const auto& [group, registration] : registrations_)
        registration->forget(requester);
}

void Registrations::connectAutomatically()
{
    hasStarted_ = isSettingsFileSound();
    for (const std::string& group : autoConnectGroups())
        registration(group).keepConnected();
}

void Registrations::review()
{
    // To a damaged file every profile would be a deleted one.
    if (!isSettingsFileSound())
        return;
    for (const auto& [group, registration] : registrations_)
        registration->reviewProfile();
    if (!hasStarted_)
        connectAutomatically();
}

void Registrations::end()
{
    for (const auto& [group, registration] : registrations_)
        registration->end();
}

void Registrations::reap()
{
    for (const auto& [group, registration] : registrations_)
        registration->reap();
    std::erase_if(registrations_, [](const auto& entry) { return entry.second->isIdle(); });
}

Registration& Registrations::registration(const std::string& group)
{
    auto& registration = registrations_[group];
    if (!registration)
        registration = std::make_unique<Registration>(services_, group);
    return *registration;
}
