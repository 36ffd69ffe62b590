// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SIPSERVICES_H
#define SIPSERVICES_H

#include "Clock.h"
#include "SIPD_Messages.h"
#include "ServerAddress.h"
#include "SipProfile.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class EventLoop;
class KeptContacts;

// How an attempt ended, or that it succeeded.
struct Outcome
{
    _SIPD_APP_ACK_E ack = SIPD_ACK_FAILED;
    int status = 0; // the server's last status code; 0 when no server answered
    // For the log: "480 Account is unpaid", "its certificate has expired". One line, printable, without a
    // secret.
    std::string words = {};
    std::vector<std::string> redirects =
        {};                             // SIP URIs of the Contact headers of a 301, 302 or 305, best first
    std::chrono::seconds retryAfter{0}; // from Retry-After; 0 without one
};

// One attempt to register a profile at one address, and then the registration, which it keeps refreshed.
//
// Its owner deletes it once it isGone(), between two steps of the loop.
class Attempt
{
public:
    enum class State {
        Registering,
        Registered,
        Abandoned, // while registering: unregisters if the server accepts it after all
        Unregistering,
        Gone
    };

    // Called from the loop: with success when the server accepts the registration, and again when it accepts
    // another contact of it; and with the reason when the attempt fails or the registration is lost. Not
    // called after unregisterOrAbandon().
    using OnOutcome = std::function<void(const Outcome&)>;

    virtual ~Attempt() = default;

    // Returns success when the attempt has started, otherwise the reason. An attempt that has started fails
    // when the server has not answered within the timeout. The same REGISTER removes the former contacts,
    // contact URIs of this profile from earlier attempts.
    virtual _SIPD_APP_ACK_E registerAt(const ServerAddress& server, std::chrono::milliseconds timeout,
                                       const std::vector<std::string>& formerContacts) = 0;
    // Ends it, and unregisters it if it is registered. A silent server gets 3 seconds.
    virtual void unregisterOrAbandon() = 0;

    virtual State state() const = 0;
    // The contact URI that a server may hold because of this attempt. Empty when none does.
    virtual const std::string& contact() const = 0;
    bool isGone() const { return state() == State::Gone; }
};

// The SIP servers and the way to them. SipNetwork is the real one; tests have one without servers.
class Network
{
public:
    // Receives the addresses to try, best first; none when the name is unknown or no name server answers.
    using OnResolved = std::function<void(const std::vector<ServerAddress>&)>;
    // A running lookup. Dropping it cancels the callback.
    using LookupHandle = std::shared_ptr<void>;

    virtual ~Network() = default;

    // Calls onResolved later, from the loop.
    virtual LookupHandle resolve(const RegistrarAddress& registrar, OnResolved onResolved) = 0;
    // This machine's address for packets to that server. Empty when there is no route.
    virtual std::string sourceFor(const ServerAddress& server) const = 0;
    // Whether this machine has any network besides the loopback.
    virtual bool isUp() const = 0;
    virtual std::unique_ptr<Attempt> makeAttempt(const SipProfile& profile, Attempt::OnOutcome onOutcome) = 0;
};

// The services behind all registrations.
struct SipServices
{
    EventLoop& loop; // for the settings file's watch
    Clock& clock;
    Network& network;
    KeptContacts& contacts;
};

#endif
