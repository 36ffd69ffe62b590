// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SIP_COMM_Controler.h"

#include "ORMU_Diagnostics.h"
#include "SIP_COMM_Channel.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace {

using Handle = _SIP_COMM_PROFILE_CONTROL_S;

_SIPD_MSG_PROFILE_S buildRequest(_SIPD_PROFILE_CTRL_E request, const char* profileName)
{
    _SIPD_MSG_PROFILE_S profile = {};
    profile.request = request;
    std::strncpy(profile.name, profileName, SIPD_PROFILE_NAME_MAX);
    return profile;
}

void closeConnection(Handle* handle)
{
    handle->channel->disconnectDaemon();
    handle->connected = 0;
}

int WriteMsg(Handle* handle, const _SIPD_MSG_PROFILE_S* profile)
{
    ORMU_ASSERT(handle != nullptr);
    ORMU_ASSERT(profile != nullptr);
    if (handle->connected == 0) {
        ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, "connect daemon first");
        return SIP_COMM_FAILED;
    }
    const int result = handle->channel->sendProfileMsg(profile);
    if (result != SIP_COMM_SUCCESS) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "fail send to daemon");
        closeConnection(handle);
    }
    return result;
}

// Reads the next message by receive, if it has the type expected. A failure closes the connection.
template <class Receive>
int readMessage(Handle* handle, _SIPD_MSG_TYPE_E expected, Receive receive)
{
    _SIPD_MSG_TYPE_E type = SIPD_MSG_NONE;
    int result = handle->channel->recvMsgType(&type);
    if (result == SIP_COMM_SUCCESS && type != expected) {
        ORMU_LOG(ORMU_LEVEL_ERROR, " read unexpected message %d", static_cast<int>(type));
        result = SIP_COMM_FAILED;
    } else if (result == SIP_COMM_SUCCESS) {
        result = receive();
    }
    if (result != SIP_COMM_SUCCESS) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "close daemon connection");
        closeConnection(handle);
    }
    return result;
}

int ReadMsg(Handle* handle, _SIPD_MSG_PROFILE_S* profile)
{
    ORMU_ASSERT(handle != nullptr);
    ORMU_ASSERT(profile != nullptr);
    if (handle->connected == 0) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "connect daemon first");
        return SIP_COMM_FAILED;
    }
    return readMessage(handle, SIPD_MSG_PROFILE, [=] {
        const int result = handle->channel->recvProfileMsg(profile);
        ORMU_LOG(ORMU_LEVEL_INFO, " read profile control command");
        return result;
    });
}

// Sends a query and reads its answer into the same block.
int ask(Handle* handle, _SIPD_MSG_PROFILE_S* profile)
{
    int result = WriteMsg(handle, profile);
    if (result != SIP_COMM_SUCCESS) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "fail write get profile status command");
        return result;
    }
    result = ReadMsg(handle, profile);
    if (result != SIP_COMM_SUCCESS)
        ORMU_LOG(ORMU_LEVEL_ERROR, "fail write read profile status ");
    return result;
}

// Sends a request that an ack will answer.
int request(Handle* handle, const _SIPD_MSG_PROFILE_S& profile)
{
    if (handle->waitAck != 0) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "wait ack , not pemission");
        return SIP_COMM_FAILED;
    }
    const int result = WriteMsg(handle, &profile);
    handle->waitAck = 1;
    return result;
}

} // namespace

int SIP_COMM_ControlerConstruct(_SIP_COMM_PROFILE_CONTROL_S** handle)
{
    ORMU_ASSERT(handle != nullptr);
    *handle = nullptr;
    std::unique_ptr<Handle> created(new (std::nothrow) Handle{});
    if (created == nullptr) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "No memory");
        return SIP_COMM_FAILED;
    }
    std::unique_ptr<SIP_COMM_Channel> channel(new (std::nothrow) SIP_COMM_Channel(SIPD_APPID_SETUP));
    if (channel == nullptr) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "No memory");
        return SIP_COMM_FAILED;
    }
    if (channel->connectDaemon() != SIP_COMM_SUCCESS) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "Fail to connect daemon");
        return SIP_COMM_FAILED;
    }

    created->channel = channel.release();
    created->connected = 1;
    created->waitAck = 1;
    Handle* made = created.release();
    _SIPD_APP_ACK_E ack = SIPD_ACK_FAILED;
    if (SIP_COMM_ControlerGetAck(made, &ack) != SIP_COMM_SUCCESS || ack == SIPD_ACK_FAILED) {
        SIP_COMM_ControlerDestruct(&made);
        return SIP_COMM_FAILED;
    }
    *handle = made;
    return SIP_COMM_SUCCESS;
}

int SIP_COMM_ControlerDestruct(_SIP_COMM_PROFILE_CONTROL_S** handle)
{
    if (handle == nullptr || *handle == nullptr)
        return SIP_COMM_SUCCESS;
    const std::unique_ptr<Handle> owned(std::exchange(*handle, nullptr));
    const std::unique_ptr<SIP_COMM_Channel> channel(owned->channel);
    return owned->connected != 0 ? channel->disconnectDaemon() : SIP_COMM_SUCCESS;
}

int SIP_COMM_ControlerProfileConnect(_SIP_COMM_PROFILE_CONTROL_S* handle, const char* profileName)
{
    ORMU_ASSERT(profileName != nullptr);
    ORMU_ASSERT(handle != nullptr);
    return request(handle, buildRequest(PROFILE_CTRL_CONNECT, profileName));
}

int SIP_COMM_ControlerProfileDisconnect(_SIP_COMM_PROFILE_CONTROL_S* handle, const char* profileName)
{
    ORMU_ASSERT(profileName != nullptr);
    ORMU_ASSERT(handle != nullptr);
    return request(handle, buildRequest(PROFILE_CTRL_DISCONNECT, profileName));
}

int SIP_COMM_ControlerSetProfileName(_SIP_COMM_PROFILE_CONTROL_S* handle, _SIPD_APPID_E appId,
                                     const char* profileName)
{
    ORMU_ASSERT(profileName != nullptr);
    ORMU_ASSERT(handle != nullptr);
    _SIPD_MSG_PROFILE_S profile = buildRequest(PROFILE_CTRL_SET_NAME, profileName);
    profile.appId = appId;
    return request(handle, profile);
}

int SIP_COMM_ControlerGetProfileStatus(_SIP_COMM_PROFILE_CONTROL_S* handle, const char* profileName,
                                       _SIPD_PROFILE_STATUS_E* status)
{
    ORMU_ASSERT(status != nullptr);
    ORMU_ASSERT(handle != nullptr);
    ORMU_ASSERT(profileName != nullptr);
    _SIPD_MSG_PROFILE_S profile = buildRequest(PROFILE_CTRL_GET_STATUS, profileName);
    const int result = ask(handle, &profile);
    if (result == SIP_COMM_SUCCESS)
        *status = profile.status;
    return result;
}

int SIP_COMM_ControlerGetProfileName(_SIP_COMM_PROFILE_CONTROL_S* handle, _SIPD_APPID_E appId, char* buf,
                                     int size)
{
    ORMU_ASSERT(buf != nullptr);
    ORMU_ASSERT(handle != nullptr);
    ORMU_ASSERT(size >= 0);
    _SIPD_MSG_PROFILE_S profile = buildRequest(PROFILE_CTRL_GET_NAME, "");
    profile.appId = appId;
    const auto room = static_cast<size_t>(size);
    std::memset(buf, 0, room);
    const int result = ask(handle, &profile);
    if (result == SIP_COMM_SUCCESS)
        std::memcpy(buf, profile.name, strnlen(profile.name, std::min(room, size_t{SIPD_PROFILE_NAME_MAX})));
    return result;
}

int SIP_COMM_ControlerGetFd(_SIP_COMM_PROFILE_CONTROL_S* handle)
{
    ORMU_ASSERT(handle != nullptr);
    ORMU_ASSERT(handle->channel != nullptr);
    return handle->channel->getFd();
}

int SIP_COMM_ControlerGetAck(_SIP_COMM_PROFILE_CONTROL_S* handle, _SIPD_APP_ACK_E* ack)
{
    ORMU_ASSERT(handle != nullptr);
    ORMU_ASSERT(ack != nullptr);
    if (handle->connected == 0) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "connect daemon first");
        return SIP_COMM_FAILED;
    }
    if (handle->waitAck == 0) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "no ack need read");
        return SIP_COMM_FAILED;
    }
    const int result = readMessage(handle, SIPD_MSG_ACK, [=] {
        const int received = handle->channel->recvAckMsg(ack);
        ORMU_LOG(ORMU_LEVEL_INFO, " read ack command");
        return received;
    });
    handle->waitAck = 0;
    return result;
}
