// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef VIRTUAL_NETWORK_H
#define VIRTUAL_NETWORK_H

#include "SipServices.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

// A clock that stands still until a test advances it.
class VirtualClock : public Clock
{
public:
    BootClock::time_point now() const override { return now_; }
    std::unique_ptr<Timer> makeTimer(std::function<void()> onExpired) override;

    // Advances the clock to each timer that expires in that time, and calls it. Calls afterEach after each.
    void advance(std::chrono::milliseconds time, const std::function<void()>& afterEach);
    // The time since the clock was made.
    long milliseconds() const;

private:
    class VirtualTimer;

    BootClock::time_point now_;
    std::vector<VirtualTimer*> timers_;
};

// Servers that answer without delay, all alike.
class VirtualNetwork : public Network
{
public:
    explicit VirtualNetwork(VirtualClock& clock);

    // The outcome of requests, those that wait for an answer included; nothing for silence. Success at first.
    void setAnswer(std::optional<_SIPD_APP_ACK_E> answer);
    // As setAnswer(), with all details.
    void setOutcome(std::optional<Outcome> outcome);
    // The outcome at one address, until setOutcome() or setAnswer().
    void setOutcomeAt(const std::string& address, std::optional<Outcome> outcome);
    // Otherwise a request that removes former contacts is refused.
    void setAcceptsFormerContacts(bool doesAccept) { acceptsFormerContacts_ = doesAccept; }
    // Ends the user's registration, as a refused refresh does.
    void lose(const std::string& user, _SIPD_APP_ACK_E reason);
    void lose(const std::string& user, const Outcome& outcome);
    // The user's registration asks the server for another contact; the server accepts it.
    void moveContact(const std::string& user, const std::string& contact);
    void acceptContact(const std::string& user);
    // The addresses of a host name. A lookup of any other name waits for them. The transport is the one that
    // the lookup asks for, or the name's own.
    void setAddresses(const std::string& name, const std::vector<std::string>& addresses,
                      std::optional<Transport> transport = std::nullopt);
    void setUnroutable(const std::set<std::string>& addresses) { unroutable_ = addresses; }
    void setUp(bool isUp) { isUp_ = isUp; }
    // This machine's address for packets to any server. None when it is empty.
    void setSource(const std::string& source) { source_ = source; }

    // All requests so far: "TIME register USER", or "TIME unregister USER", with the time in milliseconds.
    const std::vector<std::string>& requests() const { return requests_; }
    // The server and the timeout of the last attempt, as "ADDRESS:PORT in TIMEOUT".
    const std::string& lastServer() const { return lastServer_; }
    // The ways of all attempts, as "ADDRESS:PORT TRANSPORT to HOST of DOMAIN": the hosts of the Request-URI
    // and of the identity.
    const std::vector<std::string>& routes() const { return routes_; }
    // Those of the last attempt. An attempt's own contact is "sip:USER@SOURCE:N" for the Nth attempt.
    const std::vector<std::string>& formerContacts() const { return formerContacts_; }
    // The users with a registration, sorted.
    std::vector<std::string> users() const;
    // Attempts that have not been deleted.
    size_t attempts() const { return attempts_.size(); }

    LookupHandle resolve(const RegistrarAddress& registrar, OnResolved onResolved) override;
    std::string sourceFor(const ServerAddress& server) const override;
    bool isUp() const override { return isUp_; }
    std::unique_ptr<Attempt> makeAttempt(const SipProfile& profile, Attempt::OnOutcome onOutcome) override;

private:
    class VirtualAttempt;
    struct Lookup;

    void request(const std::string& what);
    const std::optional<Outcome>& answerOf(const std::string& address) const;
    void answerAll();
    VirtualAttempt& registered(const std::string& user) const;
    void answerLookups();

    VirtualClock& clock_;
    std::optional<Outcome> answer_ = Outcome{.ack = SIPD_ACK_SUCCESS, .status = 200};
    std::map<std::string, std::optional<Outcome>> answers_; // by address
    std::vector<std::string> requests_;
    std::vector<std::string> routes_;
    std::vector<std::string> formerContacts_;
    bool acceptsFormerContacts_ = true;
    int port_ = 0;
    std::string lastServer_;
    std::vector<VirtualAttempt*> attempts_;
    std::map<std::string, std::vector<std::string>> addresses_;
    std::map<std::string, std::optional<Transport>> transports_;
    std::vector<std::weak_ptr<Lookup>> lookups_;
    const std::unique_ptr<Timer> resolved_;
    std::set<std::string> unroutable_;
    std::string source_ = "192.0.2.1";
    bool isUp_ = true;
};

#endif
