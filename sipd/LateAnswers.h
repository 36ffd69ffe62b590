// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef LATEANSWERS_H
#define LATEANSWERS_H

#include "RegisterClient.h"

#include <list>
#include <memory>

// Waits for the answers to requests that nobody waits for any longer, for up to 32 seconds each. What a
// server accepts so late is unregistered.
class LateAnswers
{
public:
    explicit LateAnswers(EventLoop& loop);

    // Takes a client whose request has no answer yet. Not from a callback of a client.
    void await(std::unique_ptr<RegisterClient> client);
    bool isEmpty() const { return waiting_.empty(); }

private:
    void handleAnswer(RegisterClient& client, const RegisterAnswer& answer);

    std::list<std::unique_ptr<RegisterClient>> waiting_;
    const std::unique_ptr<Timer> sweep_;
};

#endif
