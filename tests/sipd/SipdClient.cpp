// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SipdClient.h"

#include <array>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

SipdClient::SipdClient() : fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, SIPD_SOCKET_PATH, sizeof(SIPD_SOCKET_PATH));
    const timeval timeout = {20, 0};
    setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
    connected_ = connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

SipdClient::SipdClient(_SIPD_PROFILE_CTRL_E request, const std::string& name) : SipdClient()
{
    introduce();
    send(profileMessage(request, name));
}

SipdClient::~SipdClient()
{
    close();
}

SipdClient::SipdClient(SipdClient&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), connected_(other.connected_), received_(std::move(other.received_))
{
}

void SipdClient::close()
{
    if (fd_ >= 0)
        ::close(std::exchange(fd_, -1));
}

pid_t SipdClient::daemon() const
{
    ucred peer = {};
    socklen_t size = sizeof(peer);
    return getsockopt(fd_, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 ? peer.pid : -1;
}

bool SipdClient::send(const std::string& bytes) const
{
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = ::send(fd_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count < 0)
            return false;
        sent += static_cast<size_t>(count);
    }
    return true;
}

size_t SipdClient::sendSome(const std::string& bytes) const
{
    const ssize_t count = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    return count < 0 ? 0 : static_cast<size_t>(count);
}

std::optional<SipdMessage> SipdClient::receive()
{
    for (;;) {
        if (auto message = takeMessage(received_))
            return message;
        std::array<char, 4096> buffer{};
        const ssize_t count = recv(fd_, buffer.data(), buffer.size(), 0);
        if (count <= 0)
            return std::nullopt;
        received_.append(buffer.data(), static_cast<size_t>(count));
    }
}

bool SipdClient::isClosedByDaemon()
{
    char byte = 0;
    const ssize_t count = received_.empty() ? recv(fd_, &byte, 1, 0) : 1;
    return count == 0 || (count < 0 && errno == ECONNRESET);
}

uint32_t SipdClient::ack()
{
    const auto message = receive();
    if (!message || message->type != SIPD_MSG_ACK || message->body.size() != sizeof(uint32_t))
        return NO_ANSWER;
    uint32_t value = 0;
    std::memcpy(&value, message->body.data(), sizeof(value));
    return value;
}

uint32_t SipdClient::introduce()
{
    return send(registerMessage()) ? ack() : NO_ANSWER;
}

uint32_t SipdClient::request(_SIPD_PROFILE_CTRL_E request, const std::string& name)
{
    return send(profileMessage(request, name)) ? ack() : NO_ANSWER;
}

uint32_t SipdClient::status(const std::string& name)
{
    if (!send(profileMessage(PROFILE_CTRL_GET_STATUS, name)))
        return NO_ANSWER;
    const auto message = receive();
    const auto profile = message ? decodeProfile(*message) : std::nullopt;
    return profile ? static_cast<uint32_t>(profile->status) : NO_ANSWER;
}

std::string SipdClient::registerMessage()
{
    return encodeMessage({SIPD_MSG_REGISTER, SIPD_APPID_SETUP, {}});
}

std::string SipdClient::profileMessage(uint32_t request, const std::string& name, uint32_t appId)
{
    _SIPD_MSG_PROFILE_S profile = {};
    profile.request = static_cast<_SIPD_PROFILE_CTRL_E>(request);
    profile.appId = static_cast<_SIPD_APPID_E>(appId);
    name.copy(profile.name, sizeof(profile.name));
    return encodeMessage({SIPD_MSG_PROFILE, SIPD_APPID_SETUP, encodeProfileBody(profile)});
}
