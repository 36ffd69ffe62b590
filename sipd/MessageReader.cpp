// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "MessageReader.h"

#include <algorithm>
#include <cstring>

namespace {

bool isLengthOf(_SIPD_MSG_TYPE_E type, uint32_t length)
{
    switch (type) {
    case SIPD_MSG_REGISTER:
        return length == 0;
    case SIPD_MSG_PROFILE:
        return length == sizeof(_SIPD_MSG_PROFILE_S);
    case SIPD_MSG_COMMAND:
        return length >= sizeof(_SIPD_MSG_COMMAND_S) && length <= sizeof(_SIPD_MSG_COMMAND_S) + SIPD_SDP_MAX;
    default:
        return false;
    }
}

} // namespace

MessageReader::State MessageReader::take(std::span<const uint8_t>& bytes)
{
    if (state_ == State::Violated)
        return state_;
    if (state_ == State::Complete)
        state_ = State::Incomplete;
    if (filled_ < headSize) {
        if (!fill(bytes, headSize))
            return state_;
        if (beginBody() == State::Violated)
            return state_;
    }
    const size_t skipped = std::min(toSkip_, bytes.size());
    bytes = bytes.subspan(skipped);
    toSkip_ -= skipped;
    if (toSkip_ > 0)
        return state_;
    if (head_.type == SIPD_MSG_PROFILE && !fill(bytes, buffer_.size()))
        return state_;
    return finish();
}

// Fills the buffer up to size bytes. Returns whether it has them.
bool MessageReader::fill(std::span<const uint8_t>& bytes, size_t size)
{
    const size_t taken = std::min(size - filled_, bytes.size());
    std::copy_n(bytes.begin(), taken, buffer_.begin() + static_cast<std::ptrdiff_t>(filled_));
    bytes = bytes.subspan(taken);
    filled_ += taken;
    return filled_ == size;
}

MessageReader::State MessageReader::beginBody()
{
    std::memcpy(&head_, buffer_.data(), headSize);
    if (!isLengthOf(head_.type, head_.length))
        state_ = State::Violated;
    else if (head_.type == SIPD_MSG_COMMAND)
        toSkip_ = head_.length;
    return state_;
}

MessageReader::State MessageReader::finish()
{
    message_.type = head_.type;
    if (head_.type == SIPD_MSG_PROFILE) {
        std::memcpy(&message_.profile, buffer_.data() + headSize, sizeof(message_.profile));
        message_.profile.name[SIPD_PROFILE_NAME_MAX] = '\0';
    }
    filled_ = 0;
    state_ = State::Complete;
    return state_;
}
