// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// profile-status NAME: asks the SIP daemon whether the profile with that group name ("Profile0") is
// connected.
//
// Exit status: 0 when it is connected, 1 when it is not, 2 when there is no exchange with the daemon.

#include "SIP_COMM_Channel.h"

#include <cstdio>
#include <cstring>

static bool isAdmitted(SIP_COMM_Channel& daemon)
{
    _SIPD_MSG_TYPE_E type = SIPD_MSG_NONE;
    _SIPD_APP_ACK_E ack = SIPD_ACK_FAILED;
    return daemon.connectDaemon() == SIP_COMM_SUCCESS && daemon.recvMsgType(&type) == SIP_COMM_SUCCESS &&
           daemon.recvAckMsg(&ack) == SIP_COMM_SUCCESS && ack == SIPD_ACK_SUCCESS;
}

static bool askStatus(SIP_COMM_Channel& daemon, _SIPD_MSG_PROFILE_S& profile)
{
    _SIPD_MSG_TYPE_E type = SIPD_MSG_NONE;
    return daemon.sendProfileMsg(&profile) == SIP_COMM_SUCCESS &&
           daemon.recvMsgType(&type) == SIP_COMM_SUCCESS &&
           daemon.recvProfileMsg(&profile) == SIP_COMM_SUCCESS;
}

int main(int argc, char** argv)
{
    if (argc != 2 || std::strlen(argv[1]) > SIPD_PROFILE_NAME_MAX) {
        std::fprintf(stderr, "usage: profile-status NAME\n");
        return 2;
    }
    _SIPD_MSG_PROFILE_S profile = {};
    profile.request = PROFILE_CTRL_GET_STATUS;
    std::strcpy(profile.name, argv[1]);

    SIP_COMM_Channel daemon(SIPD_APPID_SETUP);
    if (!isAdmitted(daemon) || !askStatus(daemon, profile)) {
        std::fprintf(stderr, "profile-status: the SIP daemon does not answer\n");
        return 2;
    }
    const bool connected = profile.status == SIPD_PROFILE_CONNECTED;
    std::printf("%s: %s\n", argv[1], connected ? "connected" : "not connected");
    return connected ? 0 : 1;
}
