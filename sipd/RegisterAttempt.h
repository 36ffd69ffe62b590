#ifndef REGISTERATTEMPT_H
#define REGISTERATTEMPT_H

#include "EventLoop.h"
#include "SIPD_Messages.h"
#include "ServerAddress.h"
#include "SipProfile.h"

#include <chrono>
#include <functional>
#include <string>

struct nua_s;
struct nua_handle_s;
struct sip_s;

// What all registrations share.
struct SipSettings
{
    std::chrono::seconds expires{3600}; // how long a registration is asked for at a time
    std::string caFile; // the certificates to trust of servers that are reached by TLS; else the system's
};

// One attempt to register a profile at one address, and the registration that comes of it, which is kept
// refreshed. It has a SIP agent of its own, at a port of its own.
//
// It lives until isGone(), and is then deleted between two steps of the loop.
class RegisterAttempt
{
public:
    enum class State {
        Registering,
        Registered,
        Abandoned, // left while registering: whatever comes of it is taken back
        Unregistering,
        Closing,
        Gone
    };

    // Is told how the attempt ends, from the loop, and after a success the reason when the registration is
    // lost. Not after unregisterOrAbandon().
    using OnOutcome = std::function<void(_SIPD_APP_ACK_E)>;

    RegisterAttempt(EventLoop& loop, const SipSettings& settings, const SipProfile& profile,
                    OnOutcome onOutcome);
    ~RegisterAttempt();
    RegisterAttempt(const RegisterAttempt&) = delete;
    RegisterAttempt& operator=(const RegisterAttempt&) = delete;

    // Gives up after the timeout. Success means that the attempt is under way; anything else why it is not:
    // no way to that address, or no agent.
    _SIPD_APP_ACK_E registerAt(const ServerAddress& server, std::chrono::milliseconds timeout);

    // Takes the registration back, if there is one, and ends; also when the server does not answer.
    void unregisterOrAbandon();

    State state() const { return state_; }
    bool isGone() const { return state_ == State::Gone; }

private:
    void createAgent(const std::string& localHost, std::chrono::milliseconds timeout);
    void sendRegister(const ServerAddress& server);
    void handleRegisterAnswer(int status, const sip_s* sip);
    void handleUnregisterAnswer(int status, const sip_s* sip);
    bool authenticate(const sip_s* sip);
    void setState(State state);
    void succeed();
    void fail(_SIPD_APP_ACK_E reason);
    void unregister();
    void close();

    friend struct RegisterAttemptCallbacks;

    EventLoop& loop_;
    const SipSettings& settings_;
    const SipProfile profile_;
    const OnOutcome onOutcome_;

    nua_s* agent_ = nullptr;
    nua_handle_s* handle_ = nullptr;
    State state_ = State::Gone;
    std::string answeredRealm_; // that has been given the credentials, as the server quotes it
    Timer limit_;               // of the un-registration
};

#endif
