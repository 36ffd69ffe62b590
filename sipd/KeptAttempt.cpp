// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "KeptAttempt.h"

#include <utility>

KeptAttempt::KeptAttempt(const SipServices& services, std::string account, const SipProfile& profile,
                         Attempt::OnOutcome onOutcome)
    : contacts_(services.contacts), account_(std::move(account)), onOutcome_(std::move(onOutcome)),
      attempt_(
          services.network.makeAttempt(profile, [this](const Outcome& outcome) { handleOutcome(outcome); }))
{
}

KeptAttempt::~KeptAttempt()
{
    leaveContacts();
}

_SIPD_APP_ACK_E KeptAttempt::registerAt(const ServerAddress& server, std::chrono::milliseconds timeout)
{
    former_ = contacts_.left(account_);
    const auto ack = attempt_->registerAt(server, timeout, former_);
    update();
    return ack;
}

_SIPD_APP_ACK_E KeptAttempt::registerAloneAt(const ServerAddress& server, std::chrono::milliseconds timeout)
{
    former_ = contacts_.left(account_);
    const auto ack = attempt_->registerAt(server, timeout, {});
    update();
    return ack;
}

void KeptAttempt::leave()
{
    leaveContacts();
    attempt_->unregisterOrAbandon();
}

void KeptAttempt::leaveContacts()
{
    update();
    for (const std::string& contact : earlier_)
        contacts_.leave(account_, contact);
    contacts_.leave(account_, contact_);
}

void KeptAttempt::update()
{
    if (attempt_->contact() == contact_)
        return;
    const std::string former = std::exchange(contact_, attempt_->contact());
    if (!former.empty())
        earlier_.push_back(former);
    if (contact_.empty())
        drop(earlier_);
    else
        contacts_.hold(account_, contact_);
}

void KeptAttempt::drop(std::vector<std::string>& contacts)
{
    for (const std::string& contact : std::exchange(contacts, {})) {
        if (contact != contact_)
            contacts_.drop(account_, contact);
    }
}

// A success may come with a change of the contact, which the server has not accepted yet.
void KeptAttempt::handleOutcome(const Outcome& outcome)
{
    if (outcome.ack == SIPD_ACK_SUCCESS) {
        drop(former_);
        drop(earlier_);
    }
    update();
    onOutcome_(outcome);
}
