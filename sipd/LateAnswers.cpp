// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "LateAnswers.h"

#include <utility>

namespace {

// A server that keeps silent to many attempts is left to let their registrations expire.
constexpr size_t MOST_LATE = 20;

} // namespace

LateAnswers::LateAnswers(EventLoop& loop)
    : sweep_(loop.makeTimer(
          [this] { std::erase_if(waiting_, [](const auto& client) { return !client->isWaiting(); }); }))
{
}

void LateAnswers::await(std::unique_ptr<RegisterClient> client)
{
    RegisterClient& waiting = *client;
    waiting.setOnAnswer([this, &waiting](const RegisterAnswer& answer) { handleAnswer(waiting, answer); });
    waiting.setOnClosed({});
    waiting_.push_back(std::move(client));
    if (waiting_.size() > MOST_LATE)
        waiting_.pop_front();
}

void LateAnswers::handleAnswer(RegisterClient& client, const RegisterAnswer& answer)
{
    if (answer.outcome.ack == SIPD_ACK_SUCCESS && client.isRegistering()) {
        client.send(std::chrono::seconds(0), {},
                    [this, &client](const RegisterAnswer& last) { handleAnswer(client, last); });
        return;
    }
    sweep_->set(std::chrono::milliseconds(1));
}
