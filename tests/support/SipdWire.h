// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SIPD_WIRE_H
#define SIPD_WIRE_H

// The daemon's encoders and decoders, independent of the library's.

#include "SIPD_Messages.h"

#include <cstdint>
#include <optional>
#include <string>

struct SipdMessage
{
    uint32_t type = 0;
    uint32_t appId = 0;
    std::string body;
};

std::string encodeHead(uint32_t length, uint32_t type, uint32_t appId);
std::string encodeMessage(const SipdMessage& message);
// The daemon's messages have the application id 0.
std::string encodeAck(uint32_t ack);
std::string encodeProfileBody(const _SIPD_MSG_PROFILE_S& profile);
std::string encodeProfile(const _SIPD_MSG_PROFILE_S& profile);
// fields has 264 bytes. The SDP length is that of sdp.
std::string encodeStatus(const std::string& fields, const std::string& sdp);

// Removes the first whole message from stream; nothing when there is none yet.
std::optional<SipdMessage> takeMessage(std::string& stream);
// Nothing when it is no profile message of the right length.
std::optional<_SIPD_MSG_PROFILE_S> decodeProfile(const SipdMessage& message);

// One line for a person: "connect \"Profile0\"".
std::string describe(const SipdMessage& message);

#endif
