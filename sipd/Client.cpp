// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Client.h"

#include "Log.h"

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>

Client::Client(ClientServices& services, int fd, bool isForeign)
    : services_(services), fd_(fd), isForeign_(isForeign),
      watch_(services.loop(), fd, POLLIN, [this](int) { handleReady(); })
{
}

Client::~Client()
{
    close();
}

void Client::close()
{
    if (isClosed_)
        return;
    isClosed_ = true;
    services_.handleClosed();
    services_.registrations().forget(this);
}

void Client::handleReady()
{
    flush();
    handleUnread();
    if (unsent_.empty() && !isClosed_)
        receive();
}

void Client::receive()
{
    const ssize_t count = recv(fd_.get(), received_.data(), received_.size(), 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (count <= 0) {
        close();
        return;
    }
    unread_ = std::span(received_).first(static_cast<size_t>(count));
    handleUnread();
}

void Client::handleUnread()
{
    while (!unread_.empty() && unsent_.empty() && !isClosed_) {
        switch (reader_.take(unread_)) {
        case MessageReader::State::Incomplete:
            break;
        case MessageReader::State::Complete:
            handleMessage(reader_.message());
            break;
        case MessageReader::State::Violated:
            ORMU_LOG(ORMU_LEVEL_ERROR, "a client sends an invalid message");
            close();
            break;
        }
    }
}

void Client::handleMessage(const MessageReader::Message& message)
{
    if (message.type == SIPD_MSG_REGISTER && state_ == State::Unregistered)
        handleRegister();
    else if (message.type == SIPD_MSG_PROFILE && state_ == State::Admitted)
        handleProfile(message.profile);
    else if (message.type != SIPD_MSG_COMMAND || state_ == State::Unregistered) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "a client sends message type %d out of turn",
                 static_cast<int>(message.type));
        close();
    }
}

void Client::handleRegister()
{
    if (services_.admits(*this)) {
        state_ = State::Admitted;
        acknowledge(SIPD_ACK_SUCCESS);
        return;
    }
    acknowledge(SIPD_ACK_FAILED);
    close();
}

void Client::handleProfile(const _SIPD_MSG_PROFILE_S& request)
{
    _SIPD_MSG_PROFILE_S answer = request;
    if (request.request == PROFILE_CTRL_GET_STATUS) {
        answer.status = static_cast<_SIPD_PROFILE_STATUS_E>(services_.registrations().status(request.name));
        send(SIPD_MSG_PROFILE, answer);
        return;
    }
    if (request.request == PROFILE_CTRL_GET_NAME) {
        const std::string name = services_.registrations().name(request.appId);
        std::memset(answer.name, 0, sizeof(answer.name));
        name.copy(answer.name, SIPD_PROFILE_NAME_MAX);
        send(SIPD_MSG_PROFILE, answer);
        return;
    }
    if (isWaiting_) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "a client sends a request before the ack of its last one");
        close();
        return;
    }
    handleRequest(request);
}

void Client::handleRequest(const _SIPD_MSG_PROFILE_S& request)
{
    isWaiting_ = true;
    switch (request.request) {
    case PROFILE_CTRL_CONNECT:
        services_.registrations().connect(request.name, this);
        return;
    case PROFILE_CTRL_DISCONNECT:
        services_.registrations().disconnect(request.name, this);
        return;
    case PROFILE_CTRL_SET_NAME:
        acknowledge(services_.registrations().setName(request.appId, request.name));
        return;
    default:
        acknowledge(SIPD_ACK_FAILED);
        return;
    }
}

void Client::acknowledge(_SIPD_APP_ACK_E ack)
{
    isWaiting_ = false;
    send(SIPD_MSG_ACK, ack);
}

template <class Body>
void Client::send(_SIPD_MSG_TYPE_E type, const Body& body)
{
    const _SIPD_MSG_HEAD_S head = {sizeof(body), type, {}};
    std::array<char, sizeof(head) + sizeof(body)> bytes;
    std::memcpy(bytes.data(), &head, sizeof(head));
    std::memcpy(bytes.data() + sizeof(head), &body, sizeof(body));
    const bool isFirst = unsent_.empty();
    unsent_.append(bytes.data(), bytes.size());
    // Otherwise handleReady() sends everything in order, and then handles the unread requests.
    if (isFirst)
        flush();
}

void Client::flush()
{
    if (isClosed_ || unsent_.empty())
        return;
    const ssize_t count = ::send(fd_.get(), unsent_.data(), unsent_.size(), MSG_NOSIGNAL);
    if (count < 0 && errno != EAGAIN && errno != EINTR) {
        close();
        return;
    }
    if (count > 0)
        unsent_.erase(0, static_cast<size_t>(count));
    watch_.setEvents(unsent_.empty() ? POLLIN : POLLOUT);
}
