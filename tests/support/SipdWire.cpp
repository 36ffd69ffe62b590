// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SipdWire.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t headSize = 12;
constexpr size_t profileSize = 140;
constexpr size_t nameOffset = 12;

std::string encodeWord(uint32_t value)
{
    std::string bytes(sizeof(value), '\0');
    std::memcpy(bytes.data(), &value, sizeof(value));
    return bytes;
}

uint32_t wordAt(const std::string& bytes, size_t offset)
{
    uint32_t value = 0;
    std::memcpy(&value, bytes.data() + offset, sizeof(value));
    return value;
}

std::string describeProfile(const _SIPD_MSG_PROFILE_S& profile)
{
    const std::string name =
        '"' + std::string(profile.name, strnlen(profile.name, sizeof(profile.name))) + '"';
    switch (profile.request) {
    case PROFILE_CTRL_CONNECT:
        return "connect " + name;
    case PROFILE_CTRL_DISCONNECT:
        return "disconnect " + name;
    case PROFILE_CTRL_GET_STATUS:
        return "status of " + name;
    case PROFILE_CTRL_SET_NAME:
        return "set name of application " + std::to_string(profile.appId) + " to " + name;
    case PROFILE_CTRL_GET_NAME:
        return "name of application " + std::to_string(profile.appId);
    }
    return "unknown request " + std::to_string(profile.request);
}

} // namespace

std::string encodeHead(uint32_t length, uint32_t type, uint32_t appId)
{
    return encodeWord(length) + encodeWord(type) + encodeWord(appId);
}

std::string encodeMessage(const SipdMessage& message)
{
    return encodeHead(static_cast<uint32_t>(message.body.size()), message.type, message.appId) + message.body;
}

std::string encodeAck(uint32_t ack)
{
    return encodeMessage({SIPD_MSG_ACK, 0, encodeWord(ack)});
}

std::string encodeProfileBody(const _SIPD_MSG_PROFILE_S& profile)
{
    return encodeWord(profile.request) + encodeWord(profile.appId) + encodeWord(profile.status) +
           std::string(profile.name, sizeof(profile.name));
}

std::string encodeProfile(const _SIPD_MSG_PROFILE_S& profile)
{
    return encodeMessage({SIPD_MSG_PROFILE, 0, encodeProfileBody(profile)});
}

std::string encodeStatus(const std::string& fields, const std::string& sdp)
{
    const auto low = static_cast<char>(sdp.size() & 0xff);
    const auto high = static_cast<char>(sdp.size() >> 8);
    return encodeMessage({SIPD_MSG_STATUS, 0, fields + low + high + sdp});
}

std::optional<SipdMessage> takeMessage(std::string& stream)
{
    if (stream.size() < headSize || stream.size() - headSize < wordAt(stream, 0))
        return std::nullopt;
    const size_t length = wordAt(stream, 0);
    SipdMessage message{wordAt(stream, 4), wordAt(stream, 8), stream.substr(headSize, length)};
    stream.erase(0, headSize + length);
    return message;
}

std::optional<_SIPD_MSG_PROFILE_S> decodeProfile(const SipdMessage& message)
{
    if (message.type != SIPD_MSG_PROFILE || message.body.size() != profileSize)
        return std::nullopt;
    _SIPD_MSG_PROFILE_S profile = {};
    profile.request = static_cast<_SIPD_PROFILE_CTRL_E>(wordAt(message.body, 0));
    profile.appId = static_cast<_SIPD_APPID_E>(wordAt(message.body, 4));
    profile.status = static_cast<_SIPD_PROFILE_STATUS_E>(wordAt(message.body, 8));
    std::copy(message.body.begin() + nameOffset, message.body.end(), profile.name);
    return profile;
}

std::string describe(const SipdMessage& message)
{
    if (const auto profile = decodeProfile(message))
        return describeProfile(*profile);
    if (message.type == SIPD_MSG_REGISTER && message.body.empty())
        return "register application " + std::to_string(message.appId);
    return "message of type " + std::to_string(message.type) + ", " + std::to_string(message.body.size()) +
           " bytes";
}
