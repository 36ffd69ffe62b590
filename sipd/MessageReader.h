// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef MESSAGEREADER_H
#define MESSAGEREADER_H

#include "SIPD_Messages.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

// Parses the bytes of one client into messages. It buffers one message at most, whatever length the client
// announces.
class MessageReader
{
public:
    enum class State {
        Incomplete, // all bytes are taken, and the message is not complete
        Complete,   // message() is valid until the next take()
        Violated    // the bytes are no message of a client. Final
    };

    // Only profile messages keep their body. The body of a command is skipped.
    struct Message
    {
        _SIPD_MSG_TYPE_E type = SIPD_MSG_NONE; // register, profile or command
        _SIPD_MSG_PROFILE_S profile = {};      // its name is always terminated
    };

    // Removes bytes from the front, up to the end of one message.
    State take(std::span<const uint8_t>& bytes);

    const Message& message() const { return message_; }

private:
    bool fill(std::span<const uint8_t>& bytes, size_t size);
    State beginBody();
    State finish();

    static constexpr size_t headSize = sizeof(_SIPD_MSG_HEAD_S);

    std::array<uint8_t, headSize + sizeof(_SIPD_MSG_PROFILE_S)> buffer_ = {};
    size_t filled_ = 0;
    size_t toSkip_ = 0;
    _SIPD_MSG_HEAD_S head_ = {};
    State state_ = State::Incomplete;
    Message message_;
};

#endif
