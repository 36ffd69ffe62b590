#ifndef MESSAGEREADER_H
#define MESSAGEREADER_H

#include "SIPD_Messages.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

// The receiving side of one client's connection: takes its bytes, in whatever pieces they come, and tells its
// messages. It touches nothing but its own few bytes, whatever the client announces.
class MessageReader
{
public:
    enum class State {
        Incomplete, // all bytes taken, and no whole message yet
        Complete,   // message() is there; the next take() begins the next one
        Violated    // not what a client may send; there is no way on
    };

    // A body is kept of profile messages only; that of a command is skipped.
    struct Message
    {
        _SIPD_MSG_TYPE_E type = SIPD_MSG_NONE; // register, profile or command
        _SIPD_MSG_PROFILE_S profile = {};      // terminated, whatever was sent
    };

    // Takes bytes from the front of bytes, up to the end of one message.
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
