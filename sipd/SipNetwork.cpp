// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SipNetwork.h"

#include <utility>

SipNetwork::SipNetwork(EventLoop& loop, SipSettings settings)
    : loop_(loop), settings_(std::move(settings)), resolver_(loop), late_(loop)
{
}

Network::LookupHandle SipNetwork::resolve(const RegistrarAddress& registrar, OnResolved onResolved)
{
    return resolver_.resolve(registrar, std::move(onResolved));
}

std::string SipNetwork::sourceFor(const ServerAddress& server) const
{
    return server.localUriHost();
}

bool SipNetwork::isUp() const
{
    return isAnyNetworkUp();
}

std::unique_ptr<Attempt> SipNetwork::makeAttempt(const SipProfile& profile, Attempt::OnOutcome onOutcome)
{
    return std::make_unique<RegisterAttempt>(loop_, loop_, settings_, profile, late_, std::move(onOutcome));
}
