// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef KEPTATTEMPT_H
#define KEPTATTEMPT_H

#include "KeptContacts.h"
#include "SipServices.h"

#include <memory>
#include <string>
#include <vector>

// An attempt whose contact is kept as long as a server may hold it, also when the attempt itself has ended.
class KeptAttempt
{
public:
    // account: KeptContacts::accountOf() the profile as it was before any redirection.
    KeptAttempt(const SipServices& services, std::string account, const SipProfile& profile,
                Attempt::OnOutcome onOutcome);
    ~KeptAttempt();
    KeptAttempt(const KeptAttempt&) = delete;
    KeptAttempt& operator=(const KeptAttempt&) = delete;

    // As Attempt::registerAt(), with the contacts that the account has left.
    _SIPD_APP_ACK_E registerAt(const ServerAddress& server, std::chrono::milliseconds timeout);
    // The same, at a server that accepts one contact only: it cannot be told of the others.
    _SIPD_APP_ACK_E registerAloneAt(const ServerAddress& server, std::chrono::milliseconds timeout);
    bool hasFormerContacts() const { return !former_.empty(); }

    void unregisterOrAbandon() { attempt_->unregisterOrAbandon(); }
    // The same; the account's next REGISTER removes the contact, too, since the server may be out of reach.
    void leave();

    Attempt::State state() const { return attempt_->state(); }
    bool isGone() const { return attempt_->isGone(); }
    // Looks at the attempt's contact, which the server's answers change. Call it between two steps of the
    // loop.
    void update();

private:
    void handleOutcome(const Outcome& outcome);
    void leaveContacts();
    void drop(std::vector<std::string>& contacts);

    KeptContacts& contacts_;
    const std::string account_;
    const Attempt::OnOutcome onOutcome_;
    std::string contact_;              // as it was last seen
    std::vector<std::string> earlier_; // contacts of this attempt, until the server accepts the last one
    std::vector<std::string> former_;  // that need not be kept after a success
    const std::unique_ptr<Attempt> attempt_;
};

#endif
