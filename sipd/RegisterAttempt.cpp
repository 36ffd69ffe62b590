// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "RegisterAttempt.h"

#include <sofia-sip/su_uniqueid.h>

#include <algorithm>
#include <utility>

using std::chrono::milliseconds;

namespace {

constexpr milliseconds REFRESH_TIMEOUT{8000};
constexpr milliseconds UNREGISTER_TIMEOUT{3000};
constexpr std::chrono::seconds LONGEST_SILENCE{600};
constexpr std::chrono::seconds LONGEST_LIFETIME{7 * 24 * 3600};
// A server may close each connection after its answer.
constexpr std::chrono::seconds SHORTEST_CONNECTION{10};

// From the sending of the request. Many phones that start at once do not refresh at once.
milliseconds refreshDelay(std::chrono::seconds granted)
{
    const milliseconds half = milliseconds(std::min(granted, LONGEST_LIFETIME)) / 2;
    return half + half * su_randint(0, 128) / 256;
}

} // namespace

RegisterAttempt::RegisterAttempt(EventLoop& loop, Clock& clock, const SipSettings& settings,
                                 const SipProfile& profile, LateAnswers& late, OnOutcome onOutcome)
    : loop_(loop), clock_(clock), settings_(settings), profile_(profile), late_(late),
      onOutcome_(std::move(onOutcome)), keepAlive_(LONGEST_SILENCE), followsNat_(settings.followsNat),
      limit_(clock.makeTimer([this] { handleTimeout(); })),
      next_(clock.makeTimer([this] { refreshOrKeepOpen(); }))
{
}

RegisterAttempt::~RegisterAttempt() = default;

_SIPD_APP_ACK_E RegisterAttempt::registerAt(const ServerAddress& server, milliseconds timeout,
                                            const std::vector<std::string>& formerContacts)
{
    client_ = std::make_unique<RegisterClient>(loop_, settings_, profile_);
    client_->setOnClosed([this] { handleClosed(); });
    if (const auto problem = client_->open(server); problem != SIPD_ACK_SUCCESS)
        return problem;
    setState(State::Registering);
    contact_ = client_->contact();
    formerContacts_ = formerContacts;
    request(settings_.expires, formerContacts, timeout);
    return SIPD_ACK_SUCCESS;
}

void RegisterAttempt::request(std::chrono::seconds lifetime, const std::vector<std::string>& formerContacts,
                              milliseconds timeout)
{
    next_->stop();
    const auto now = clock_.now();
    silence_ = std::chrono::duration_cast<std::chrono::seconds>(now - packetAt_);
    sentAt_ = packetAt_ = now;
    limit_->set(timeout);
    client_->send(lifetime, formerContacts, [this](const RegisterAnswer& answer) { handleAnswer(answer); });
}

void RegisterAttempt::handleAnswer(const RegisterAnswer& answer)
{
    limit_->stop();
    const bool isSuccess = answer.outcome.ack == SIPD_ACK_SUCCESS;
    isAccepted_ = isAccepted_ || (isSuccess && state_ != State::Unregistering);
    if (state_ == State::Unregistering) {
        if (isSuccess)
            contact_.clear();
        end();
    } else if (state_ == State::Abandoned && isAccepted_) {
        unregister();
    } else if (state_ == State::Abandoned) {
        contact_.clear();
        end();
    } else if (isSuccess) {
        accept(answer);
    } else if (!stayAfterRefusedMove(answer)) {
        fail(answer.outcome);
    }
}

void RegisterAttempt::accept(const RegisterAnswer& answer)
{
    const bool isFirst = state_ == State::Registering;
    setState(State::Registered);
    const bool hasMoved = std::exchange(isMoving_, false);
    formerContacts_.clear();
    refreshAt_ = sentAt_ + refreshDelay(answer.granted);
    if (hasMoved || !followNat(answer))
        schedule();
    // Its owner may unregister it now.
    if (isFirst || hasMoved)
        onOutcome_(answer.outcome);
}

// Registers the address that the server has seen. False when that is the registered one.
bool RegisterAttempt::followNat(const RegisterAnswer& answer)
{
    if (!followsNat_)
        return false;
    const bool isSame = client_->isContactAt(answer.seen);
    if (std::exchange(isTranslated_, answer.seen.has_value()))
        keepAlive_.learn(isSame, silence_);
    if (isTranslated_ && !isDatagram())
        client_->keepOpen();
    if (isSame)
        return false;
    isMoving_ = true;
    formerContacts_ = {contact_};
    client_->moveContact(answer.seen);
    contact_ = client_->contact();
    request(settings_.expires, formerContacts_, REFRESH_TIMEOUT);
    return true;
}

// A server that refuses the address that it has seen keeps the former contact.
bool RegisterAttempt::stayAfterRefusedMove(const RegisterAnswer& answer)
{
    if (!isMoving_ || answer.outcome.status == 0)
        return false;
    isMoving_ = isTranslated_ = followsNat_ = false;
    formerContacts_ = {contact_};
    client_->moveContact(std::nullopt);
    contact_ = client_->contact();
    schedule();
    return true;
}

// The answer may still come.
void RegisterAttempt::handleTimeout()
{
    const State state = state_;
    if (state != State::Unregistering)
        late_.await(std::move(client_));
    end();
    if (state == State::Registering || state == State::Registered)
        onOutcome_({.ack = SIPD_ACK_CONNECT_FAILED});
}

void RegisterAttempt::handleClosed()
{
    if (state_ != State::Registered || client_->isWaiting())
        return;
    refreshAt_ = std::min(refreshAt_, std::max(clock_.now(), sentAt_ + SHORTEST_CONNECTION));
    schedule();
}

void RegisterAttempt::schedule()
{
    auto at = refreshAt_;
    isKeepAliveNext_ = false;
    if (isTranslated_ && isDatagram() && packetAt_ + keepAlive_.silence() < at) {
        at = packetAt_ + keepAlive_.silence();
        isKeepAliveNext_ = !keepAlive_.isProbe();
    }
    const auto delay = std::chrono::ceil<milliseconds>(at - clock_.now());
    next_->set(std::max(delay, milliseconds(1)));
}

void RegisterAttempt::refreshOrKeepOpen()
{
    if (state_ != State::Registered || client_->isWaiting())
        return;
    if (!isKeepAliveNext_) {
        request(settings_.expires, formerContacts_, REFRESH_TIMEOUT);
        return;
    }
    client_->keepOpen();
    packetAt_ = clock_.now();
    schedule();
}

// The owner looks at the state between two steps.
void RegisterAttempt::setState(State state)
{
    state_ = state;
    loop_.wake();
}

void RegisterAttempt::fail(const Outcome& outcome)
{
    if (!isAccepted_)
        contact_.clear();
    end();
    onOutcome_(outcome);
}

void RegisterAttempt::unregisterOrAbandon()
{
    if (state_ == State::Registering || (state_ == State::Registered && client_->isWaiting()))
        setState(State::Abandoned);
    else if (state_ == State::Registered)
        unregister();
}

void RegisterAttempt::unregister()
{
    setState(State::Unregistering);
    request(std::chrono::seconds(0), formerContacts_, UNREGISTER_TIMEOUT);
}

void RegisterAttempt::end()
{
    limit_->stop();
    next_->stop();
    setState(State::Gone);
}
