// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef BARE_REGISTER_H
#define BARE_REGISTER_H

#include <chrono>

struct su_root_s;

// The exchange of a connect made with the SIP stack alone: an agent, a REGISTER, the answer to the challenge.
class BareRegister
{
public:
    explicit BareRegister(unsigned int port);
    ~BareRegister();
    BareRegister(const BareRegister&) = delete;
    BareRegister& operator=(const BareRegister&) = delete;

    // How long it takes until the registrar accepts. Takes the registration back afterwards.
    std::chrono::nanoseconds run();

private:
    const unsigned int port_;
    su_root_s* root_;
};

#endif
