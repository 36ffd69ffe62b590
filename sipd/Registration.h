// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef REGISTRATION_H
#define REGISTRATION_H

#include "KeptAttempt.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Receives the end of a request.
class RequestObserver
{
public:
    virtual ~RequestObserver() = default;
    virtual void acknowledge(_SIPD_APP_ACK_E ack) = 0;
};

// The answer to a status query.
enum class ConnectionStatus : uint32_t { NotConnected = 0, Working = 1, Connected = SIPD_PROFILE_CONNECTED };

// The connection of one profile.
//
// A profile that has been connected, or that connects automatically, is kept connected until it is
// disconnected: after a failure the registration retries, with growing pauses. After a rejection by the
// server it retries every 5 minutes, and without a valid profile never. A changed profile is tried at once. A
// pause is never shorter than the servers ask for (Retry-After), up to an hour.
//
// A server that is not reached, has no service (503) or is busy (600) leaves its turn to the next address. A
// redirected registration (301, 302, 305) goes on at the servers that the answer names: at 5 of them at most,
// at no address twice, and never without TLS after an answer that came by TLS. The profile's server remains
// the domain of the identity; the Request-URI names the new server, or after a 305 still the old one.
//
// The profile is known by its group in the settings file, which may change. This class never reads that file.
//
// A contact that the server may still hold, from an address that the machine has left, from an attempt
// without an answer or from a killed daemon, is removed by the next REGISTER.
//
// An observer receives one call for each request. It must live until then, or be forgotten.
class Registration
{
public:
    // onRetry is called when the pause is over, and calls keepConnected() or postpone().
    Registration(const SipServices& services, std::string group, std::function<void(Registration&)> onRetry);
    ~Registration();
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

    const std::string& group() const { return group_; }
    // The unchanged profile has another group now.
    void moveTo(const std::string& group) { group_ = group; }

    ConnectionStatus status() const;

    // Here and below, no profile means that nobody could register with it.

    // Registers the profile, again if it is registered. Ends within 8 seconds.
    void connect(RequestObserver* observer, std::optional<SipProfile> profile);
    // Unregisters. Ends within 3 seconds, always with success.
    void disconnect(RequestObserver* observer);
    // Drops the observer. Cancels a connect that has no other observer.
    void forget(RequestObserver* observer);

    // Connects and keeps connected, without an observer.
    void keepConnected(std::optional<SipProfile> profile);
    // Puts the retry off until reviewProfile(), or for a minute.
    void postpone();
    // Takes the profile from the settings file, and connects again if it has changed.
    void reviewProfile(std::optional<SipProfile> profile);
    // Takes notice that this machine's network has changed: connects again when packets to the server have
    // another source address now, and retries at once when the server was not reached.
    void reviewNetwork();
    // As end(), for a deleted profile: observers of a connect learn that it is gone.
    void endDeleted();
    // As disconnect(), without an observer.
    void end();

    // Deletes finished attempts, and continues what waited for them. Call it between two steps of the loop.
    void reap();
    // Nothing is under way, and nothing needs to be remembered.
    bool isIdle() const;
    // Waits for the next retry.
    bool isPausing() const { return phase_ == Phase::Pausing; }

private:
    enum class Phase {
        Off,
        Clearing, // waits for former attempts before the next one
        Resolving,
        Registering,
        On,
        Pausing // until the next retry
    };

    void begin();
    void resolve();
    void handleAddresses(const std::vector<ServerAddress>& found);
    void tryNext();
    SipProfile routeTo(const ServerAddress& address) const;
    void handleOutcome(const Outcome& outcome);
    void beginRound();
    void note(const Outcome& failure);
    bool isRefusedForContacts(const Outcome& outcome) const;
    bool isRedirected(const Outcome& outcome);
    std::optional<RegistrarAddress> redirectedServer(const std::string& uri) const;
    void fail(const Outcome& reason);
    void pauseAfter(const Outcome& reason);
    void dropAttempt();
    void answer(std::vector<RequestObserver*>& observers, _SIPD_APP_ACK_E ack);
    bool isClearing() const;
    bool isLeaving() const;
    void handleTimer();
    std::chrono::milliseconds timeLeft() const;

    const SipServices services_;
    std::string group_;
    const std::function<void(Registration&)> onRetry_;

    Phase phase_ = Phase::Off;
    bool isKept_ = false;
    bool isPostponed_ = false;          // the retry waits for the settings file
    bool isRejected_ = false;           // the server was reached, and refused
    bool isAskedToWait_ = false;        // the server has said how long to pause
    std::optional<SipProfile> profile_; // as it was last read
    BootClock::time_point deadline_;
    std::chrono::milliseconds pause_;

    // A round of attempts, at the addresses of one server after the other.
    std::vector<SipProfile> routes_;       // to the servers still to try, the next one last
    SipProfile route_;                     // to the server of addresses_
    std::vector<ServerAddress> addresses_; // still to try, the next one last
    std::vector<ServerAddress> tried_;
    int redirects_ = 0;
    bool isAlone_ = false; // the servers accept no former contacts beside the new one
    Outcome failure_;      // of the round
    std::optional<std::chrono::seconds> retryAfter_; // the least of the round's failures

    Network::LookupHandle lookup_;
    std::unique_ptr<KeptAttempt> attempt_; // under way or registered
    std::optional<ServerAddress> server_;  // of the attempt
    std::string source_;                   // this machine's address in the attempt
    std::vector<std::unique_ptr<KeptAttempt>> former_;
    std::vector<std::unique_ptr<KeptAttempt>> moved_; // from a former address; nothing waits for these

    std::vector<RequestObserver*> connecting_;
    std::vector<RequestObserver*> disconnecting_;

    const std::unique_ptr<Timer> timer_; // of the attempt, or of the pause
    const std::unique_ptr<Timer> disconnectLimit_;
};

#endif
