#ifndef REGISTRATION_H
#define REGISTRATION_H

#include "RegisterAttempt.h"
#include "Resolver.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Someone who waits for the end of a request.
class RequestObserver
{
public:
    virtual ~RequestObserver() = default;
    virtual void acknowledge(_SIPD_APP_ACK_E ack) = 0;
};

// What registrations work with.
struct SipServices
{
    EventLoop& loop;
    Resolver& resolver;
    const SipSettings& settings;
};

// What a status query is answered with.
enum class ConnectionStatus : uint32_t { NotConnected = 0, Working = 1, Connected = SIPD_PROFILE_CONNECTED };

// One profile's connection: brings it about, keeps it, and ends it.
//
// A profile is kept connected once it has been, or when it is to be from the start: what breaks is tried
// again, with growing pauses, until somebody disconnects it; rarely when the server rejected the profile, and
// not at all when it makes no sense. A change of the profile is tried at once.
//
// It knows its profile by the group in the settings file, which may change. It never reads that file itself.
//
// Observers are told the end of their request once; they must outlive that, or be forgotten.
class Registration
{
public:
    // onRetry is called when it is time for the next try, and calls keepConnected() or postpone().
    Registration(const SipServices& services, std::string group, std::function<void(Registration&)> onRetry);
    ~Registration();
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

    const std::string& group() const { return group_; }
    // The profile, unchanged, stands under another group now.
    void moveTo(const std::string& group) { group_ = group; }

    ConnectionStatus status() const;

    // The profile, here and below: nothing when nobody could register with it.

    // Registers with the profile as it is given, anew if need be. Ends within 8 seconds.
    void connect(RequestObserver* observer, std::optional<SipProfile> profile);
    // Takes the registration back. Ends within 3 seconds, always with success.
    void disconnect(RequestObserver* observer);
    // The observer has gone. What was begun for nobody else is given up.
    void forget(RequestObserver* observer);

    // Connects it and keeps it so, without an observer.
    void keepConnected(std::optional<SipProfile> profile);
    // The next try waits for reviewProfile(), or for a minute.
    void postpone();
    // What the settings file says now: connects anew when the profile has changed.
    void reviewProfile(std::optional<SipProfile> profile);
    // The profile has been deleted: as end(), but whoever waits for it to be connected is told.
    void endDeleted();
    // As disconnect(), without an observer.
    void end();

    // Between two steps of the loop: deletes what has come to its end, and goes on where that was waited for.
    void reap();
    // There is nothing to do for it, and nothing to remember.
    bool isIdle() const;
    // It waits for the next try.
    bool isPausing() const { return phase_ == Phase::Pausing; }

private:
    enum class Phase {
        Off,
        Clearing, // the former registration, or what there is too much of, goes before the next is begun
        Resolving,
        Registering,
        On,
        Pausing // until the next try
    };

    void begin();
    void resolve();
    void handleAddresses(const std::vector<ServerAddress>& found);
    void tryAddresses();
    void handleOutcome(_SIPD_APP_ACK_E outcome);
    void fail(_SIPD_APP_ACK_E reason);
    void pauseAfter(_SIPD_APP_ACK_E reason);
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
    bool isPostponed_ = false;          // the next try
    std::optional<SipProfile> profile_; // as it was last read
    BootClock::time_point deadline_;
    std::chrono::milliseconds pause_;

    Resolver::LookupHandle lookup_;
    std::vector<ServerAddress> addresses_;                 // that are still to be tried, the next one last
    std::unique_ptr<RegisterAttempt> attempt_;             // the present attempt or registration
    std::vector<std::unique_ptr<RegisterAttempt>> former_; // on their way out

    std::vector<RequestObserver*> connecting_;
    std::vector<RequestObserver*> disconnecting_;

    Timer timer_; // of the attempt, or of the pause
    Timer disconnectLimit_;
};

#endif
