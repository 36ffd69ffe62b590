// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef REGISTERATTEMPT_H
#define REGISTERATTEMPT_H

#include "EventLoop.h"
#include "KeepAlive.h"
#include "LateAnswers.h"
#include "RegisterClient.h"
#include "SipServices.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

// An attempt at a real server: when a RegisterClient sends what.
//
// The registration is refreshed after half to three quarters of the granted time. When the server sees
// another address than this machine's, as behind a NAT, that one is registered instead, and kept open. When
// the server closes the connection, the registration is refreshed over a new one.
class RegisterAttempt : public Attempt
{
public:
    // The client of an attempt that is over goes to late when its answer may still come.
    RegisterAttempt(EventLoop& loop, Clock& clock, const SipSettings& settings, const SipProfile& profile,
                    LateAnswers& late, OnOutcome onOutcome);
    ~RegisterAttempt() override;
    RegisterAttempt(const RegisterAttempt&) = delete;
    RegisterAttempt& operator=(const RegisterAttempt&) = delete;

    _SIPD_APP_ACK_E registerAt(const ServerAddress& server, std::chrono::milliseconds timeout,
                               const std::vector<std::string>& formerContacts) override;
    void unregisterOrAbandon() override;
    State state() const override { return state_; }
    const std::string& contact() const override { return contact_; }

private:
    void request(std::chrono::seconds lifetime, const std::vector<std::string>& formerContacts,
                 std::chrono::milliseconds timeout);
    void handleAnswer(const RegisterAnswer& answer);
    void accept(const RegisterAnswer& answer);
    bool followNat(const RegisterAnswer& answer);
    bool stayAfterRefusedMove(const RegisterAnswer& answer);
    void handleTimeout();
    void handleClosed();
    void schedule();
    void refreshOrKeepOpen();
    void setState(State state);
    void fail(const Outcome& outcome);
    void unregister();
    void end();
    bool isDatagram() const { return profile_.nextHop().transport == Transport::Udp; }

    EventLoop& loop_;
    Clock& clock_;
    const SipSettings& settings_;
    const SipProfile profile_;
    LateAnswers& late_;
    const OnOutcome onOutcome_;

    std::unique_ptr<RegisterClient> client_;
    State state_ = State::Gone;
    bool isAccepted_ = false; // the server has accepted a registration
    std::string contact_;
    std::vector<std::string> formerContacts_; // to remove with the next request

    KeepAlive keepAlive_;
    bool followsNat_;
    bool isTranslated_ = false; // the server sees another address than this machine's
    bool isMoving_ = false;     // the running request moves the contact

    BootClock::time_point sentAt_;    // the last request
    BootClock::time_point packetAt_;  // the last packet
    std::chrono::seconds silence_{0}; // before the last request
    BootClock::time_point refreshAt_;
    bool isKeepAliveNext_ = false;

    const std::unique_ptr<Timer> limit_; // of the running request
    const std::unique_ptr<Timer> next_;  // until the next packet
};

#endif
