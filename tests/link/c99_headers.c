// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

/* The link's C headers, used from C99 without anything else. */

#include "SIP_COMM_Controler.h"

#include <stddef.h>

int main(void)
{
    int (*const construct)(_SIP_COMM_PROFILE_CONTROL_S**) = SIP_COMM_ControlerConstruct;
    int (*const destruct)(_SIP_COMM_PROFILE_CONTROL_S**) = SIP_COMM_ControlerDestruct;
    int (*const requests[])(_SIP_COMM_PROFILE_CONTROL_S*, const char*) = {
        SIP_COMM_ControlerProfileConnect, SIP_COMM_ControlerProfileDisconnect};
    int (*const getStatus)(_SIP_COMM_PROFILE_CONTROL_S*, const char*, _SIPD_PROFILE_STATUS_E*) =
        SIP_COMM_ControlerGetProfileStatus;
    int (*const setName)(_SIP_COMM_PROFILE_CONTROL_S*, _SIPD_APPID_E, const char*) =
        SIP_COMM_ControlerSetProfileName;
    int (*const getName)(_SIP_COMM_PROFILE_CONTROL_S*, _SIPD_APPID_E, char*, int) =
        SIP_COMM_ControlerGetProfileName;
    int (*const getFd)(_SIP_COMM_PROFILE_CONTROL_S*) = SIP_COMM_ControlerGetFd;
    int (*const getAck)(_SIP_COMM_PROFILE_CONTROL_S*, _SIPD_APP_ACK_E*) = SIP_COMM_ControlerGetAck;

    _SIP_COMM_PROFILE_CONTROL_S closed = {NULL, 0, 1};
    _SIP_COMM_PROFILE_CONTROL_S* none = NULL;
    _SIPD_MSG_PROFILE_S profile = {PROFILE_CTRL_GET_STATUS, SIPD_APPID_SETUP, SIPD_PROFILE_CONNECTED,
                                   "Profile0"};
    _SIPD_PROFILE_STATUS_E status;
    _SIPD_APP_ACK_E ack;
    char name[SIPD_PROFILE_NAME_MAX + 1];

    /* Every function is called, as far as that works without a daemon. */
    return !(construct != NULL && getFd != NULL && destruct(&none) == SIP_COMM_SUCCESS &&
             destruct(NULL) == SIP_COMM_SUCCESS && requests[0](&closed, profile.name) == SIP_COMM_FAILED &&
             requests[1](&closed, profile.name) == SIP_COMM_FAILED &&
             setName(&closed, profile.appId, profile.name) == SIP_COMM_FAILED &&
             getStatus(&closed, profile.name, &status) == SIP_COMM_FAILED &&
             getName(&closed, profile.appId, name, (int)sizeof(name)) == SIP_COMM_FAILED &&
             getAck(&closed, &ack) == SIP_COMM_FAILED && SIP_COMM_IO_ERROR == 2 && SIP_COMM_NO_MEMORY == 3 &&
             SIP_COMM_CLOSED == 5);
}
