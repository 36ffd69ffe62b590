// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "DaemonLink.h"

#include "DaemonOwner.h"
#include "SIP_COMM_Channel.h"

#include <poll.h>
#include <unistd.h>

DaemonLink::DaemonLink()
{
    if (const auto stranger = strangerOnDaemonSocket()) {
        refuse(*stranger);
        return;
    }
    _SIP_COMM_PROFILE_CONTROL_S* handle = nullptr;
    if (SIP_COMM_ControlerConstruct(&handle) == 0) {
        handle_.reset(handle);
        if (const auto stranger = strangerOnConnection(SIP_COMM_ControlerGetFd(handle)))
            refuse(*stranger);
        return;
    }
    SIP_COMM_Channel channel(SIPD_APPID_SETUP);
    state_ = channel.connectDaemon() == 0 ? Refused : NoDaemon;
    const auto peer = state_ == Refused ? peerOf(channel.getFd()) : std::nullopt;
    // Root's daemon may serve root alone.
    if (peer && *peer != geteuid())
        refuse(*peer);
}

void DaemonLink::refuse(uid_t stranger)
{
    handle_.reset();
    state_ = Stranger;
    stranger_ = stranger;
}

QString DaemonLink::describe() const
{
    switch (state_) {
    case Open:
        break;
    case NoDaemon:
        return tr("The SIP daemon is not running.");
    case Stranger:
        return describeStranger(stranger_);
    case Refused:
        return tr("The SIP daemon refuses to answer.");
    case Lost:
        return tr("The connection to the SIP daemon was lost.");
    }
    return tr("The SIP daemon answers.");
}

std::optional<_SIPD_PROFILE_STATUS_E> DaemonLink::status(const QString& group)
{
    _SIPD_PROFILE_STATUS_E status = {};
    if (SIP_COMM_ControlerGetProfileStatus(handle_.get(), group.toLatin1().constData(), &status) == 0)
        return status;
    state_ = Lost;
    return std::nullopt;
}

bool DaemonLink::send(Request request, const QString& group)
{
    const QByteArray name = group.toLatin1();
    const int result = request == Connect
                           ? SIP_COMM_ControlerProfileConnect(handle_.get(), name.constData())
                           : SIP_COMM_ControlerProfileDisconnect(handle_.get(), name.constData());
    if (result == 0)
        return true;
    state_ = Lost;
    return false;
}

bool DaemonLink::waitForAck(int milliseconds)
{
    pollfd ack = {SIP_COMM_ControlerGetFd(handle_.get()), POLLIN, 0};
    return poll(&ack, 1, milliseconds) > 0;
}

std::optional<_SIPD_APP_ACK_E> DaemonLink::readAck()
{
    _SIPD_APP_ACK_E ack = {};
    if (SIP_COMM_ControlerGetAck(handle_.get(), &ack) == 0)
        return ack;
    state_ = Lost;
    return std::nullopt;
}
