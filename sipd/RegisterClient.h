// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef REGISTERCLIENT_H
#define REGISTERCLIENT_H

#include "Digest.h"
#include "EventLoop.h"
#include "SipServices.h"
#include "TlsTrust.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct nta_agent_s;
struct nta_outgoing_s;
struct msg_s;
struct sip_s;
struct tport_s;

// Settings of all registrations.
struct SipSettings
{
    std::chrono::seconds expires{3600}; // the lifetime to ask servers for
    std::string caFile;                 // the certificates to trust for TLS; empty for the system's
    std::string product{"sipd"};        // the User-Agent of requests
    bool followsNat = true;             // registers the address that the server sees, and keeps it open
};

// The final answer to a REGISTER.
struct RegisterAnswer
{
    // Success for a 2xx that holds the contact, when a lifetime was asked for.
    Outcome outcome;
    std::chrono::seconds granted{0};
    // The address that the server has seen the request come from. Nothing when that is this machine's own.
    std::optional<ServerAddress> seen = {};
};

// Sends REGISTER requests for one profile to one address, answers challenges, and reads the answers. It has a
// SIP agent of its own, at a port of its own. One request at a time. Never blocks, but for reading
// certificates.
//
// It answers requests only of the address and port that it registers with: OPTIONS, by which servers look
// whether a phone is there, with 200, and all others with 405. To everybody else it is silent: a stranger who
// gets 403 knows that a phone is there, and goes on to guess its user. What the stack itself answers to
// malformed requests contains nothing but what was in them.
class RegisterClient
{
public:
    using OnAnswer = std::function<void(const RegisterAnswer&)>;

    RegisterClient(EventLoop& loop, const SipSettings& settings, const SipProfile& profile);
    // Not from a callback of its own.
    ~RegisterClient();
    RegisterClient(const RegisterClient&) = delete;
    RegisterClient& operator=(const RegisterClient&) = delete;

    // Makes the agent. Returns success, or the reason why there is none.
    _SIPD_APP_ACK_E open(const ServerAddress& server);

    // Sends a request; onAnswer is called once, later, from the loop. A server that keeps silent is given up
    // after 32 seconds. A lifetime of 0 unregisters. The former contacts are removed.
    void send(std::chrono::seconds lifetime, const std::vector<std::string>& formerContacts,
              OnAnswer onAnswer);
    bool isWaiting() const { return request_ != nullptr; }
    // Whether the last request does not unregister.
    bool isRegistering() const { return lifetime_.count() > 0; }
    // Hands the answer to somebody else.
    void setOnAnswer(OnAnswer onAnswer) { onAnswer_ = std::move(onAnswer); }
    // Called when the server closes the connection of the last accepted request.
    void setOnClosed(std::function<void()> onClosed) { onClosed_ = std::move(onClosed); }

    // The contact's URI. It is at this machine's own address until moveContact().
    const std::string& contact() const { return contact_; }
    // Nothing means this machine's own address.
    void moveContact(const std::optional<ServerAddress>& place);
    // Whether the contact is at that address.
    bool isContactAt(const std::optional<ServerAddress>& place) const;
    // Keeps a NAT open: sends a packet without content, once. On a connection it makes the kernel do that
    // from now on, whenever the connection is silent.
    void keepOpen() const;

private:
    Transport transport() const { return profile_.nextHop().transport; }
    bool createAgent(const std::string& localHost);
    void transmit();
    bool addHeaders(msg_s* message);
    void handleResponse(const sip_s* sip);
    void handleFailedTls(const std::string& reason);
    bool answerChallenge(const sip_s* sip, Outcome& outcome);
    bool askForMore(const sip_s* sip);
    void readSuccess(const sip_s* sip, RegisterAnswer& answer) const;
    std::optional<ServerAddress> seenIn(const sip_s* sip) const;
    void finish(const RegisterAnswer& answer);
    void handleRequest(msg_s* message, const sip_s* sip);
    bool isFromServer(msg_s* message) const;
    void watchConnection();
    void dropConnection();

    EventLoop& loop_;
    const SipSettings& settings_;
    const SipProfile profile_;
    const std::string user_;        // escaped
    std::optional<TlsTrust> trust_; // for TLS
    nta_agent_s* agent_ = nullptr;
    nta_outgoing_s* request_ = nullptr; // null when none waits for its answer
    tport_s* connection_ = nullptr;
    int watch_ = 0; // of the connection

    std::optional<ServerAddress> server_;
    std::optional<ServerAddress> local_; // of this machine
    std::optional<ServerAddress> place_; // of the contact
    std::string contact_;
    const std::string callId_;
    const std::string tag_;
    unsigned int sequence_ = 0;
    DigestClient digest_;

    std::chrono::seconds lifetime_{0};
    std::chrono::seconds shortestLifetime_{0}; // that the server accepts
    std::vector<std::string> formerContacts_;
    OnAnswer onAnswer_;
    std::function<void()> onClosed_;
    const std::unique_ptr<Timer> failure_; // of a request that could not be made
};

#endif
