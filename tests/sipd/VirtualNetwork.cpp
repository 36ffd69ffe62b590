// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "VirtualNetwork.h"

#include <algorithm>
#include <utility>

using namespace std::chrono_literals;

class VirtualClock::VirtualTimer : public Timer
{
public:
    VirtualTimer(VirtualClock& clock, std::function<void()> onExpired)
        : clock_(clock), onExpired_(std::move(onExpired))
    {
        clock_.timers_.push_back(this);
    }
    ~VirtualTimer() override { std::erase(clock_.timers_, this); }
    VirtualTimer(const VirtualTimer&) = delete;
    VirtualTimer& operator=(const VirtualTimer&) = delete;

    void set(std::chrono::milliseconds delay) override { end_ = clock_.now() + delay; }
    void stop() override { end_.reset(); }

    const std::optional<BootClock::time_point>& end() const { return end_; }
    void expire()
    {
        stop();
        onExpired_();
    }

private:
    VirtualClock& clock_;
    const std::function<void()> onExpired_;
    std::optional<BootClock::time_point> end_;
};

std::unique_ptr<Timer> VirtualClock::makeTimer(std::function<void()> onExpired)
{
    return std::make_unique<VirtualTimer>(*this, std::move(onExpired));
}

void VirtualClock::advance(std::chrono::milliseconds time, const std::function<void()>& afterEach)
{
    const auto until = now_ + time;
    for (;;) {
        VirtualTimer* next = nullptr;
        for (VirtualTimer* timer : timers_) {
            if (timer->end() && *timer->end() <= until && (next == nullptr || *timer->end() < *next->end()))
                next = timer;
        }
        if (next == nullptr)
            break;
        now_ = std::max(now_, *next->end());
        next->expire();
        afterEach();
    }
    now_ = until;
}

long VirtualClock::milliseconds() const
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(now_.time_since_epoch()).count();
}

class VirtualNetwork::VirtualAttempt : public Attempt
{
public:
    VirtualAttempt(VirtualNetwork& network, const SipProfile& profile, OnOutcome onOutcome)
        : network_(network), profile_(profile), onOutcome_(std::move(onOutcome)),
          answer_(network.clock_.makeTimer([this] { handleAnswer(answer()); })),
          limit_(network.clock_.makeTimer([this] { handleSilence(); }))
    {
        network_.attempts_.push_back(this);
    }
    ~VirtualAttempt() override { std::erase(network_.attempts_, this); }
    VirtualAttempt(const VirtualAttempt&) = delete;
    VirtualAttempt& operator=(const VirtualAttempt&) = delete;

    _SIPD_APP_ACK_E registerAt(const ServerAddress& server, std::chrono::milliseconds timeout,
                               const std::vector<std::string>& formerContacts) override
    {
        server_ = server.uriHost();
        contact_ =
            "sip:" + user() + '@' + network_.sourceFor(server) + ':' + std::to_string(++network_.port_);
        network_.formerContacts_ = formerContacts;
        hasFormerContacts_ = !formerContacts.empty();
        network_.routes_.push_back(server_ + ':' + std::to_string(server.port()) + ' ' +
                                   nameOf(profile_.nextHop().transport) + " to " +
                                   profile_.target().uriHost() + " of " + profile_.registrar.uriHost());
        network_.lastServer_ =
            server.uriHost() + ':' + std::to_string(server.port()) + " in " + std::to_string(timeout.count());
        request("register", State::Registering, timeout);
        return SIPD_ACK_SUCCESS;
    }
    void unregisterOrAbandon() override
    {
        if (state_ == State::Registering)
            state_ = State::Abandoned;
        else if (state_ == State::Registered)
            request("unregister", State::Unregistering, 3s);
    }
    State state() const override { return state_; }
    const std::string& contact() const override { return contact_; }

    const std::string& user() const { return profile_.user; }
    // Whether a request has no answer yet.
    bool isWaiting() const { return state_ != State::Registered && state_ != State::Gone; }
    void awaitAnswer()
    {
        if (network_.answerOf(server_))
            answer_->set(0ms);
        else
            answer_->stop();
    }
    void moveContact(const std::string& contact) { contact_ = contact; }
    void acceptContact() { onOutcome_({.ack = SIPD_ACK_SUCCESS, .status = 200}); }
    void lose(const Outcome& outcome)
    {
        state_ = State::Gone;
        contact_.clear();
        onOutcome_(outcome);
    }

private:
    void request(const char* what, State state, std::chrono::milliseconds timeout)
    {
        state_ = state;
        network_.request(what + (' ' + user()));
        limit_->set(timeout);
        awaitAnswer();
    }
    Outcome answer() const
    {
        if (hasFormerContacts_ && !network_.acceptsFormerContacts_)
            return {.ack = SIPD_ACK_FAILED, .status = 400, .words = "400 One Contact Please"};
        return *network_.answerOf(server_);
    }
    void handleAnswer(const Outcome& answer)
    {
        answer_->stop();
        limit_->stop();
        const bool isAccepted = answer.ack == SIPD_ACK_SUCCESS;
        if (state_ == State::Abandoned && isAccepted) {
            request("unregister", State::Unregistering, 3s);
            return;
        }
        const bool isRegistering = state_ == State::Registering;
        state_ = isRegistering && isAccepted ? State::Registered : State::Gone;
        if (state_ == State::Gone)
            contact_.clear();
        if (isRegistering)
            onOutcome_(answer);
    }
    // The server may have accepted the request.
    void handleSilence()
    {
        const bool isRegistering = state_ == State::Registering;
        state_ = State::Gone;
        if (isRegistering)
            onOutcome_({.ack = SIPD_ACK_CONNECT_FAILED});
    }

    VirtualNetwork& network_;
    const SipProfile profile_;
    const OnOutcome onOutcome_;
    std::string server_;
    std::string contact_;
    bool hasFormerContacts_ = false;
    State state_ = State::Gone;
    const std::unique_ptr<Timer> answer_;
    const std::unique_ptr<Timer> limit_;
};

struct VirtualNetwork::Lookup
{
    RegistrarAddress registrar;
    OnResolved onResolved;
};

VirtualNetwork::VirtualNetwork(VirtualClock& clock)
    : clock_(clock), resolved_(clock.makeTimer([this] { answerLookups(); }))
{
}

void VirtualNetwork::setAnswer(std::optional<_SIPD_APP_ACK_E> answer)
{
    setOutcome(answer ? std::optional(Outcome{.ack = *answer}) : std::nullopt);
}

void VirtualNetwork::setOutcome(std::optional<Outcome> outcome)
{
    answer_ = std::move(outcome);
    answers_.clear();
    answerAll();
}

void VirtualNetwork::setOutcomeAt(const std::string& address, std::optional<Outcome> outcome)
{
    answers_[address] = std::move(outcome);
    answerAll();
}

const std::optional<Outcome>& VirtualNetwork::answerOf(const std::string& address) const
{
    const auto found = answers_.find(address);
    return found == answers_.end() ? answer_ : found->second;
}

void VirtualNetwork::answerAll()
{
    for (VirtualAttempt* attempt : attempts_) {
        if (attempt->isWaiting())
            attempt->awaitAnswer();
    }
}

VirtualNetwork::VirtualAttempt& VirtualNetwork::registered(const std::string& user) const
{
    return **std::ranges::find_if(attempts_, [&user](const VirtualAttempt* attempt) {
        return attempt->user() == user && attempt->state() == Attempt::State::Registered;
    });
}

void VirtualNetwork::lose(const std::string& user, const Outcome& outcome)
{
    registered(user).lose(outcome);
}

void VirtualNetwork::moveContact(const std::string& user, const std::string& contact)
{
    registered(user).moveContact(contact);
}

void VirtualNetwork::acceptContact(const std::string& user)
{
    registered(user).acceptContact();
}

void VirtualNetwork::lose(const std::string& user, _SIPD_APP_ACK_E reason)
{
    lose(user, Outcome{.ack = reason});
}

std::vector<std::string> VirtualNetwork::users() const
{
    std::vector<std::string> users;
    for (const VirtualAttempt* attempt : attempts_) {
        if (attempt->state() == Attempt::State::Registered ||
            attempt->state() == Attempt::State::Unregistering)
            users.push_back(attempt->user());
    }
    std::ranges::sort(users);
    return users;
}

void VirtualNetwork::setAddresses(const std::string& name, const std::vector<std::string>& addresses,
                                  std::optional<Transport> transport)
{
    transports_[name] = transport;
    addresses_[name] = addresses;
    resolved_->set(0ms);
}

Network::LookupHandle VirtualNetwork::resolve(const RegistrarAddress& registrar, OnResolved onResolved)
{
    auto lookup = std::make_shared<Lookup>(Lookup{registrar, std::move(onResolved)});
    lookups_.push_back(lookup);
    resolved_->set(0ms);
    return lookup;
}

void VirtualNetwork::answerLookups()
{
    for (const std::weak_ptr<Lookup>& waiting : std::exchange(lookups_, {})) {
        const auto lookup = waiting.lock();
        if (!lookup)
            continue;
        const auto known = addresses_.find(lookup->registrar.host);
        if (known == addresses_.end()) {
            lookups_.push_back(waiting);
            continue;
        }
        std::vector<ServerAddress> found;
        const Transport transport = transports_[known->first].value_or(lookup->registrar.transport);
        for (const std::string& address : known->second)
            found.push_back(*ServerAddress::parse(address, lookup->registrar.port, transport));
        lookup->onResolved(found);
    }
}

std::string VirtualNetwork::sourceFor(const ServerAddress& server) const
{
    return unroutable_.contains(server.uriHost()) ? "" : source_;
}

std::unique_ptr<Attempt> VirtualNetwork::makeAttempt(const SipProfile& profile, Attempt::OnOutcome onOutcome)
{
    return std::make_unique<VirtualAttempt>(*this, profile, std::move(onOutcome));
}

void VirtualNetwork::request(const std::string& what)
{
    requests_.push_back(std::to_string(clock_.milliseconds()) + ' ' + what);
}
