// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Bindings.h"

#include <utility>

Bindings::Bindings(Listener listener) : listener_(std::move(listener)) {}

void Bindings::set(const std::string& user, const std::string& contact, std::chrono::seconds lifetime,
                   Clock::time_point now)
{
    Ends& bound = users_[user];
    if (lifetime <= std::chrono::seconds::zero()) {
        if (bound.erase(contact) != 0)
            listener_(user, "unregistered from " + contact);
        return;
    }
    const bool isNew = bound.insert_or_assign(contact, now + lifetime).second;
    listener_(user, (isNew ? "registered at " : "renewed at ") + contact + " for " +
                        std::to_string(lifetime.count()) + " s");
}

void Bindings::removeAll(const std::string& user)
{
    for (const auto& [contact, end] : std::exchange(users_[user], {}))
        listener_(user, "unregistered from " + contact);
}

void Bindings::expire(Clock::time_point now)
{
    for (auto& [user, bound] : users_) {
        for (auto binding = bound.begin(); binding != bound.end();) {
            if (binding->second > now) {
                ++binding;
                continue;
            }
            listener_(user, "expired at " + binding->first);
            binding = bound.erase(binding);
        }
    }
}

std::string Bindings::contactHeader(const std::string& user, Clock::time_point now) const
{
    const auto found = users_.find(user);
    if (found == users_.end())
        return {};
    std::string header;
    for (const auto& [contact, end] : found->second) {
        const auto left = std::chrono::ceil<std::chrono::seconds>(end - now).count();
        header += (header.empty() ? "<" : ", <") + contact + ">;expires=" + std::to_string(left);
    }
    return header;
}
