// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Feeds arbitrary bytes to the daemon's receiving side, in pieces and whole, and holds the two against each
// other.
//
// An input is: one byte, the size of the pieces, and what a client sends.

#include "MessageReader.h"
#include "Require.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace {

void append(std::string& record, const MessageReader::Message& message)
{
    require(message.type == SIPD_MSG_REGISTER || message.type == SIPD_MSG_PROFILE ||
            message.type == SIPD_MSG_COMMAND);
    record += std::to_string(message.type) + ' ';
    if (message.type != SIPD_MSG_PROFILE)
        return;
    require(std::memchr(message.profile.name, '\0', sizeof(message.profile.name)) != nullptr);
    record.append(reinterpret_cast<const char*>(&message.profile), sizeof(message.profile));
}

// All that it understands of the bytes.
std::string recordOf(std::span<const uint8_t> bytes, size_t pieceSize)
{
    MessageReader reader;
    std::string record;
    while (!bytes.empty()) {
        auto piece = bytes.first(std::min(pieceSize, bytes.size()));
        bytes = bytes.subspan(piece.size());
        while (!piece.empty()) {
            const size_t before = piece.size();
            const auto state = reader.take(piece);
            if (state == MessageReader::State::Violated)
                return record + "violated";
            require(piece.size() < before);
            require(state == MessageReader::State::Complete || piece.empty());
            if (state == MessageReader::State::Complete)
                append(record, reader.message());
        }
    }
    return record;
}

} // namespace

// The size of all that was understood of one input, the longest of all, for those who replay them.
size_t longestRecord = 0;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const std::span<const uint8_t> bytes(data + 1, size - 1);
    const std::string whole = recordOf(bytes, std::max<size_t>(bytes.size(), 1));
    require(recordOf(bytes, 1U + data[0]) == whole);
    longestRecord = std::max(longestRecord, whole.size());
    return 0;
}
