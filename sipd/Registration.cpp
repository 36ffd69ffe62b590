// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Registration.h"

#include "Log.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

using std::chrono::milliseconds;

namespace {

constexpr milliseconds CONNECT_TIMEOUT{8000};
constexpr milliseconds DISCONNECT_TIMEOUT{3000};
// Pauses before a retry double from the shortest to the longest.
constexpr milliseconds SHORTEST_PAUSE{1000};
constexpr milliseconds LONGEST_PAUSE{60'000};
// A server may take frequent wrong passwords for an attack.
constexpr milliseconds PAUSE_AFTER_REJECTION{300'000};
// The least time for an address.
constexpr milliseconds SHORTEST_ATTEMPT{500};

// Clients may cancel attempts at a silent server faster than these end.
constexpr std::ptrdiff_t MOST_ABANDONED = 4;

// A server that asks for more may have a fault.
constexpr std::chrono::seconds LONGEST_RETRY_AFTER{3600};

constexpr int MOST_REDIRECTS = 5;
constexpr int USE_PROXY = 305;
constexpr int BUSY_EVERYWHERE = 600;

std::string wordsFor(const Outcome& failure)
{
    const auto with = [&failure](std::string words) {
        return failure.words.empty() ? words : words + ": " + failure.words;
    };
    switch (failure.ack) {
    case SIPD_ACK_SERVICE_UNAVAILABLE:
        return failure.words.empty() ? "no service, or no network" : with("the server has no service");
    case SIPD_ACK_INCORRECT_PROFILE:
        return failure.words.empty() ? "the profile is not valid" : with("the server rejects it");
    case SIPD_ACK_CONNECT_FAILED:
        return with("the server is not reached");
    default:
        return with("the server refuses");
    }
}

// Whether another server of the domain may accept the registration.
bool isOfOneServer(const Outcome& failure)
{
    return failure.ack == SIPD_ACK_CONNECT_FAILED || failure.ack == SIPD_ACK_SERVICE_UNAVAILABLE ||
           failure.status == BUSY_EVERYWHERE;
}

} // namespace

Registration::Registration(const SipServices& services, std::string group,
                           std::function<void(Registration&)> onRetry)
    : services_(services), group_(std::move(group)), onRetry_(std::move(onRetry)), pause_(SHORTEST_PAUSE),
      timer_(services.clock.makeTimer([this] { handleTimer(); })),
      disconnectLimit_(services.clock.makeTimer([this] { answer(disconnecting_, SIPD_ACK_SUCCESS); }))
{
}

Registration::~Registration() = default;

ConnectionStatus Registration::status() const
{
    switch (phase_) {
    case Phase::On:
        return ConnectionStatus::Connected;
    case Phase::Clearing:
    case Phase::Resolving:
    case Phase::Registering:
        return ConnectionStatus::Working;
    case Phase::Off:
    case Phase::Pausing:
        break;
    }
    return ConnectionStatus::NotConnected;
}

void Registration::connect(RequestObserver* observer, std::optional<SipProfile> profile)
{
    const bool isUnderWay = status() == ConnectionStatus::Working;
    connecting_.push_back(observer);
    if (isUnderWay && profile == profile_)
        return;
    profile_ = std::move(profile);
    if (connecting_.size() == 1)
        deadline_ = services_.clock.now() + CONNECT_TIMEOUT;
    begin();
}

void Registration::keepConnected(std::optional<SipProfile> profile)
{
    isKept_ = true;
    profile_ = std::move(profile);
    begin();
}

void Registration::postpone()
{
    SIPD_DETAIL("%s waits for the settings file", group_.c_str());
    isPostponed_ = true;
    timer_->set(LONGEST_PAUSE);
}

void Registration::reviewProfile(std::optional<SipProfile> profile)
{
    if (!isKept_ && status() == ConnectionStatus::NotConnected)
        return;
    const bool hasChanged = profile != profile_;
    if (!hasChanged && !isPostponed_)
        return;
    if (hasChanged) {
        SIPD_DETAIL("%s has changed", group_.c_str());
        profile_ = std::move(profile);
        pause_ = SHORTEST_PAUSE;
    }
    begin();
}

void Registration::reviewNetwork()
{
    if (phase_ == Phase::Pausing && !isRejected_ && !isAskedToWait_) {
        pause_ = SHORTEST_PAUSE;
        onRetry_(*this);
        return;
    }
    if (!attempt_ || services_.network.sourceFor(*server_) == source_)
        return;
    SIPD_DETAIL("%s leaves the address %s", group_.c_str(), source_.c_str());
    attempt_->leave();
    moved_.push_back(std::move(attempt_));
    pause_ = SHORTEST_PAUSE;
    begin();
}

void Registration::endDeleted()
{
    SIPD_DETAIL("%s has been deleted", group_.c_str());
    answer(connecting_, SIPD_ACK_INCORRECT_PROFILE);
    end();
}

void Registration::begin()
{
    dropAttempt();
    // Observers that wait already keep their deadline.
    if (connecting_.empty())
        deadline_ = services_.clock.now() + CONNECT_TIMEOUT;
    if (!profile_) {
        fail({.ack = SIPD_ACK_INCORRECT_PROFILE});
        return;
    }
    phase_ = Phase::Clearing;
    timer_->set(std::max(timeLeft(), milliseconds(1)));
    route_ = *profile_;
    beginRound();
    if (!isClearing())
        resolve();
}

void Registration::beginRound()
{
    routes_.clear();
    tried_.clear();
    redirects_ = 0;
    isAlone_ = false;
    failure_ = {.ack = SIPD_ACK_CONNECT_FAILED};
    retryAfter_.reset();
}

void Registration::resolve()
{
    phase_ = Phase::Resolving;
    const RegistrarAddress& server = route_.nextHop();
    if (const auto address = ServerAddress::parse(server.host, server.port, server.transport)) {
        handleAddresses({*address});
        return;
    }
    lookup_ = services_.network.resolve(server, [this](const std::vector<ServerAddress>& found) {
        lookup_.reset();
        handleAddresses(found);
    });
}

// Drops unroutable addresses, so that they use up no part of the time.
void Registration::handleAddresses(const std::vector<ServerAddress>& found)
{
    std::copy_if(found.rbegin(), found.rend(), std::back_inserter(addresses_),
                 [this](const ServerAddress& address) {
                     return std::ranges::find(tried_, address) == tried_.end() &&
                            !services_.network.sourceFor(address).empty();
                 });
    if (addresses_.empty()) {
        ORMU_LOG(ORMU_LEVEL_INFO, "%s: %s %s", group_.c_str(), found.empty() ? "no address of" : "no way to",
                 route_.nextHop().host.c_str());
        note({.ack = services_.network.isUp() ? SIPD_ACK_CONNECT_FAILED : SIPD_ACK_SERVICE_UNAVAILABLE});
    }
    tryNext();
}

void Registration::tryNext()
{
    phase_ = Phase::Registering;
    while (!addresses_.empty()) {
        const auto share = timeLeft() / std::ssize(addresses_);
        server_ = addresses_.back();
        source_ = services_.network.sourceFor(*server_);
        addresses_.pop_back();
        tried_.push_back(*server_);
        attempt_ =
            std::make_unique<KeptAttempt>(services_, KeptContacts::accountOf(*profile_), routeTo(*server_),
                                          [this](const Outcome& outcome) { handleOutcome(outcome); });
        const milliseconds timeout = std::max(share, SHORTEST_ATTEMPT);
        const auto ack =
            isAlone_ ? attempt_->registerAloneAt(*server_, timeout) : attempt_->registerAt(*server_, timeout);
        if (ack == SIPD_ACK_SUCCESS)
            return;
        attempt_.reset();
        note({.ack = ack});
    }
    if (routes_.empty() || redirects_ == MOST_REDIRECTS) {
        fail(failure_);
        return;
    }
    ++redirects_;
    route_ = std::move(routes_.back());
    routes_.pop_back();
    SIPD_DETAIL("%s is redirected to %s", group_.c_str(), route_.nextHop().host.c_str());
    resolve();
}

// DNS may have chosen the transport.
SipProfile Registration::routeTo(const ServerAddress& address) const
{
    SipProfile route = route_;
    RegistrarAddress server = route.nextHop();
    server.setTransport(address.transport());
    route.setNextHop(server);
    return route;
}

void Registration::handleOutcome(const Outcome& outcome)
{
    if (outcome.ack == SIPD_ACK_SUCCESS) {
        ORMU_LOG(ORMU_LEVEL_INFO, "%s is registered with %s", group_.c_str(),
                 profile_->registrar.host.c_str());
        timer_->stop();
        phase_ = Phase::On;
        isKept_ = true;
        pause_ = SHORTEST_PAUSE;
        answer(connecting_, SIPD_ACK_SUCCESS);
        return;
    }
    const bool isForContacts = isRefusedForContacts(outcome);
    former_.push_back(std::move(attempt_));
    if (phase_ == Phase::On) {
        // A lost registration goes on at the other addresses.
        deadline_ = services_.clock.now() + CONNECT_TIMEOUT;
        timer_->set(CONNECT_TIMEOUT);
        beginRound();
        tried_.push_back(*server_);
    }
    if (isForContacts) {
        SIPD_DETAIL("%s is refused with its former contacts", group_.c_str());
        isAlone_ = true;
        addresses_.push_back(*server_);
        tryNext();
        return;
    }
    if (isRedirected(outcome)) {
        tryNext();
        return;
    }
    note(outcome);
    if (!isOfOneServer(outcome)) {
        fail(outcome);
        return;
    }
    if (!addresses_.empty() || !routes_.empty())
        ORMU_LOG(ORMU_LEVEL_INFO, "%s is not registered at %s: %s", group_.c_str(),
                 server_->uriHost().c_str(), wordsFor(outcome).c_str());
    tryNext();
}

bool Registration::isRefusedForContacts(const Outcome& outcome) const
{
    return phase_ == Phase::Registering && !isAlone_ && attempt_->hasFormerContacts() &&
           outcome.ack == SIPD_ACK_FAILED && outcome.status >= 400 && outcome.status < BUSY_EVERYWHERE;
}

// The first server that answers tells why the round fails, or else the first attempt that knows a reason. A
// pause ends when the first server may be tried.
void Registration::note(const Outcome& failure)
{
    const bool isAnswer = failure.ack != SIPD_ACK_CONNECT_FAILED;
    if (failure_.ack == SIPD_ACK_CONNECT_FAILED && (isAnswer || failure_.words.empty()))
        failure_ = failure;
    retryAfter_ = std::min(retryAfter_.value_or(failure.retryAfter), failure.retryAfter);
}

// Takes the servers that a redirection names.
bool Registration::isRedirected(const Outcome& outcome)
{
    const size_t before = routes_.size();
    for (auto uri = outcome.redirects.rbegin(); uri != outcome.redirects.rend(); ++uri) {
        const auto server = redirectedServer(*uri);
        if (!server)
            continue;
        SipProfile route = route_;
        route.proxy.reset();
        (outcome.status == USE_PROXY ? route.proxy : route.redirected) = *server;
        routes_.push_back(std::move(route));
    }
    if (routes_.size() == before || redirects_ == MOST_REDIRECTS)
        return false;
    addresses_.clear();
    return true;
}

// Nothing when nobody may follow it there. Without a transport of its own it has that of the answer.
std::optional<RegistrarAddress> Registration::redirectedServer(const std::string& uri) const
{
    auto server = parseServerUri(uri);
    const Transport transport = server_->transport();
    if (!server ||
        (transport == Transport::Tls && !server->defaultTransport && server->transport != transport))
        return std::nullopt;
    if (server->defaultTransport && transport != Transport::Udp) {
        server->setTransport(transport);
        server->defaultTransport = false;
    }
    const auto address = ServerAddress::parse(server->host, server->port, server->transport);
    return address && std::ranges::find(tried_, *address) != tried_.end() ? std::nullopt : server;
}

void Registration::fail(const Outcome& reason)
{
    ORMU_LOG(ORMU_LEVEL_INFO, "%s is not connected: %s", group_.c_str(), wordsFor(reason).c_str());
    dropAttempt();
    if (isKept_ && profile_)
        pauseAfter(reason);
    answer(connecting_, reason.ack);
}

void Registration::pauseAfter(const Outcome& reason)
{
    phase_ = Phase::Pausing;
    isRejected_ = reason.ack == SIPD_ACK_INCORRECT_PROFILE || reason.ack == SIPD_ACK_FAILED;
    const std::chrono::seconds asked =
        std::min(retryAfter_.value_or(std::chrono::seconds(0)), LONGEST_RETRY_AFTER);
    isAskedToWait_ = asked > std::chrono::seconds(0);
    const milliseconds pause = reason.ack == SIPD_ACK_INCORRECT_PROFILE ? PAUSE_AFTER_REJECTION : pause_;
    timer_->set(std::max<milliseconds>(pause, asked));
    if (reason.ack != SIPD_ACK_INCORRECT_PROFILE)
        pause_ = std::min(2 * pause_, LONGEST_PAUSE);
}

void Registration::handleTimer()
{
    if (phase_ == Phase::Pausing)
        onRetry_(*this);
    else {
        note({.ack = SIPD_ACK_CONNECT_FAILED});
        fail(failure_);
    }
}

void Registration::disconnect(RequestObserver* observer)
{
    if (disconnecting_.empty())
        disconnectLimit_->set(DISCONNECT_TIMEOUT);
    disconnecting_.push_back(observer);
    end();
}

void Registration::end()
{
    isKept_ = false;
    profile_.reset();
    dropAttempt();
    answer(connecting_, SIPD_ACK_FAILED);
    if (!isLeaving())
        answer(disconnecting_, SIPD_ACK_SUCCESS);
}

void Registration::forget(RequestObserver* observer)
{
    std::erase(disconnecting_, observer);
    const bool wasConnecting = std::erase(connecting_, observer) > 0;
    if (!wasConnecting || !connecting_.empty() || isKept_)
        return;
    SIPD_DETAIL("%s: connecting is cancelled", group_.c_str());
    dropAttempt();
}

// Ends the attempt or registration, whatever its state.
void Registration::dropAttempt()
{
    timer_->stop();
    isPostponed_ = false;
    lookup_.reset();
    addresses_.clear();
    if (attempt_) {
        attempt_->unregisterOrAbandon();
        former_.push_back(std::move(attempt_));
    }
    phase_ = Phase::Off;
}

void Registration::answer(std::vector<RequestObserver*>& observers, _SIPD_APP_ACK_E ack)
{
    for (RequestObserver* observer : std::exchange(observers, {}))
        observer->acknowledge(ack);
}

// The next attempt waits until former ones have unregistered, and few are abandoned.
bool Registration::isClearing() const
{
    const auto count = [this](Attempt::State state) {
        return std::count_if(former_.begin(), former_.end(),
                             [state](const auto& attempt) { return attempt->state() == state; });
    };
    return count(Attempt::State::Unregistering) > 0 || count(Attempt::State::Abandoned) > MOST_ABANDONED;
}

bool Registration::isLeaving() const
{
    return std::any_of(former_.begin(), former_.end(), [](const auto& attempt) {
        return attempt->state() == Attempt::State::Unregistering ||
               attempt->state() == Attempt::State::Abandoned;
    });
}

milliseconds Registration::timeLeft() const
{
    return std::chrono::duration_cast<milliseconds>(deadline_ - services_.clock.now());
}

void Registration::reap()
{
    if (attempt_)
        attempt_->update();
    for (auto* attempts : {&former_, &moved_}) {
        for (const auto& attempt : *attempts)
            attempt->update();
        std::erase_if(*attempts, [](const auto& attempt) { return attempt->isGone(); });
    }
    if (phase_ == Phase::Clearing && !isClearing())
        resolve();
    if (!disconnecting_.empty() && !isLeaving())
        answer(disconnecting_, SIPD_ACK_SUCCESS);
}

bool Registration::isIdle() const
{
    return phase_ == Phase::Off && !isKept_ && former_.empty() && moved_.empty() && connecting_.empty() &&
           disconnecting_.empty();
}
