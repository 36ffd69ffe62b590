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
    update();
    contacts_.leave(account_, contact_);
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
    update();
    contacts_.leave(account_, contact_);
    attempt_->unregisterOrAbandon();
}

void KeptAttempt::update()
{
    std::string contact = attempt_->contact();
    if (contact == contact_)
        return;
    if (!contact_.empty())
        contacts_.drop(account_, contact_);
    contact_ = std::move(contact);
    if (!contact_.empty())
        contacts_.hold(account_, contact_);
}

void KeptAttempt::handleOutcome(const Outcome& outcome)
{
    update();
    if (outcome.ack == SIPD_ACK_SUCCESS) {
        for (const std::string& former : std::exchange(former_, {})) {
            if (former != contact_)
                contacts_.drop(account_, former);
        }
    }
    onOutcome_(outcome);
}
