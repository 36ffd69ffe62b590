#ifndef REGISTERATTEMPT_H
#define REGISTERATTEMPT_H

#include "EventLoop.h"
#include "SipServices.h"

#include <chrono>
#include <memory>
#include <string>

struct nua_s;
struct nua_handle_s;
struct sip_s;

// Settings of all registrations.
struct SipSettings
{
    std::chrono::seconds expires{3600}; // the lifetime to ask servers for
    std::string caFile;                 // the certificates to trust for TLS; empty for the system's
};

// An attempt by the SIP stack. It has a SIP agent of its own, at a port of its own.
class RegisterAttempt : public Attempt
{
public:
    RegisterAttempt(EventLoop& loop, const SipSettings& settings, const SipProfile& profile,
                    OnOutcome onOutcome);
    ~RegisterAttempt() override;
    RegisterAttempt(const RegisterAttempt&) = delete;
    RegisterAttempt& operator=(const RegisterAttempt&) = delete;

    _SIPD_APP_ACK_E registerAt(const ServerAddress& server, std::chrono::milliseconds timeout,
                               const std::vector<std::string>& formerContacts) override;
    void unregisterOrAbandon() override;
    State state() const override { return state_; }
    std::string contact() const override { return {}; }

private:
    void handleEvent(int event, int status, const char* phrase, nua_handle_s* handle, const sip_s* sip);
    void createAgent(const std::string& localHost, std::chrono::milliseconds timeout);
    void sendRegister(const ServerAddress& server);
    void handleRegisterAnswer(int status, const char* phrase, const sip_s* sip);
    void handleUnregisterAnswer(int status, const sip_s* sip);
    bool authenticate(const sip_s* sip);
    void setState(State state);
    void succeed();
    void fail(const Outcome& outcome);
    void unregister();
    void close();

    EventLoop& loop_;
    const SipSettings& settings_;
    const SipProfile profile_;
    const OnOutcome onOutcome_;

    nua_s* agent_ = nullptr;
    nua_handle_s* handle_ = nullptr;
    State state_ = State::Gone;
    std::string answeredRealm_; // has received the credentials; as the server quotes it
    const std::unique_ptr<Timer> unregisterLimit_;
};

#endif
