// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

/* connect-profile NAME: connects the profile with that group name ("Profile0") and prints the daemon's
 * ack.
 *
 * Exit status: 0 when the daemon has connected the profile, 1 when it has not, 2 when there is no
 * exchange with the daemon. */

#include "SIP_COMM_Controler.h"

#include <stdio.h>

static const char* meaningOf(_SIPD_APP_ACK_E ack)
{
    static const char* const meanings[] = {
        [SIPD_ACK_SUCCESS] = "success",
        [SIPD_ACK_FAILED] = "failed",
        [SIPD_ACK_SERVICE_UNAVAILABLE] = "service unavailable",
        [SIPD_ACK_INCORRECT_PROFILE] = "incorrect profile",
        [SIPD_ACK_CONNECT_FAILED] = "failure to reach the server",
    };
    return ack <= SIPD_ACK_CONNECT_FAILED ? meanings[ack] : "unknown";
}

static const char* causeOf(int result)
{
    switch (result) {
    case SIP_COMM_IO_ERROR:
        return "the connection to the SIP daemon failed";
    case SIP_COMM_NO_MEMORY:
        return "out of memory";
    case SIP_COMM_CLOSED:
        return "the SIP daemon closed the connection";
    default:
        return "the SIP daemon sent an unexpected message";
    }
}

int main(int argc, char** argv)
{
    _SIP_COMM_PROFILE_CONTROL_S* handle = NULL;
    _SIPD_APP_ACK_E ack = SIPD_ACK_FAILED;
    int result;

    if (argc != 2) {
        fprintf(stderr, "usage: connect-profile NAME\n");
        return 2;
    }
    if (SIP_COMM_ControlerConstruct(&handle) != SIP_COMM_SUCCESS) {
        fprintf(stderr, "connect-profile: the SIP daemon is not running or refuses the connection\n");
        return 2;
    }

    /* GetAck waits. A program that must not wait polls SIP_COMM_ControlerGetFd() first. */
    result = SIP_COMM_ControlerProfileConnect(handle, argv[1]);
    if (result == SIP_COMM_SUCCESS)
        result = SIP_COMM_ControlerGetAck(handle, &ack);
    SIP_COMM_ControlerDestruct(&handle);
    if (result != SIP_COMM_SUCCESS) {
        fprintf(stderr, "connect-profile: %s\n", causeOf(result));
        return 2;
    }

    printf("%s: ack %u, %s\n", argv[1], (unsigned int)ack, meaningOf(ack));
    return ack == SIPD_ACK_SUCCESS ? 0 : 1;
}
