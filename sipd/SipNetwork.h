// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SIPNETWORK_H
#define SIPNETWORK_H

#include "LateAnswers.h"
#include "RegisterAttempt.h"
#include "Resolver.h"
#include "SipServices.h"

// The machine's network, its name servers, and the SIP stack.
class SipNetwork : public Network
{
public:
    SipNetwork(EventLoop& loop, SipSettings settings);

    LookupHandle resolve(const RegistrarAddress& registrar, OnResolved onResolved) override;
    std::string sourceFor(const ServerAddress& server) const override;
    bool isUp() const override;
    std::unique_ptr<Attempt> makeAttempt(const SipProfile& profile, Attempt::OnOutcome onOutcome) override;

    // Whether a thread still waits for a name server.
    bool isBusy() const { return resolver_.isBusy(); }

private:
    EventLoop& loop_;
    const SipSettings settings_;
    Resolver resolver_;
    LateAnswers late_;
};

#endif
