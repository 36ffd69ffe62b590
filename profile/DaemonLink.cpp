#include "DaemonLink.h"

#include "DaemonOwner.h"
#include "SIP_COMM_Channel.h"

#include <algorithm>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int DISCONNECT_MS = 10000;
constexpr uint32_t NOT_CONNECTED = 0;

} // namespace

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
    // That of root may well serve root alone.
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

bool DaemonLink::disconnect(const QString& group)
{
    return send(Disconnect, group) && waitForAck(DISCONNECT_MS) && readAck() == SIPD_ACK_SUCCESS;
}

std::optional<QList<ProfileFile::Profile>> heldProfiles(const QList<ProfileFile::Profile>& profiles)
{
    QList<ProfileFile::Profile> held;
    if (profiles.isEmpty())
        return held;
    DaemonLink link;
    if (link.state() == DaemonLink::NoDaemon)
        return held;
    for (const ProfileFile::Profile& profile : profiles) {
        const auto status = link.state() == DaemonLink::Open ? link.status(profile.group) : std::nullopt;
        if (!status)
            return std::nullopt;
        if (*status != NOT_CONNECTED)
            held += profile;
    }
    return held;
}

bool releaseProfiles(const QList<ProfileFile::Profile>& profiles)
{
    DaemonLink link;
    if (link.state() == DaemonLink::NoDaemon)
        return true;
    return link.state() == DaemonLink::Open &&
           std::all_of(profiles.begin(), profiles.end(), [&link](const ProfileFile::Profile& profile) {
               return link.disconnect(profile.group);
           });
}
