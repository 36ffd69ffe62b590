/* connect-profile NAME: connects the profile with that group name ("Profile0") and prints the daemon's ack.
 *
 * Ends with 0 when the daemon has connected the profile, 1 when it would not, 2 when there was no talking to
 * it. */

#include "SIP_COMM_Controler.h"

#include <stdio.h>

static const char* meaningOf(_SIPD_APP_ACK_E ack)
{
    switch (ack) {
    case SIPD_ACK_SUCCESS:
        return "success";
    case SIPD_ACK_FAILED:
        return "failed";
    case SIPD_ACK_SERVICE_UNAVAILABLE:
        return "service unavailable";
    case SIPD_ACK_INCORRECT_PROFILE:
        return "incorrect profile";
    case SIPD_ACK_CONNECT_FAILED:
        return "failure to reach the server";
    }
    return "unknown";
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
    if (SIP_COMM_ControlerConstruct(&handle) != 0) {
        fprintf(stderr, "connect-profile: the SIP daemon is not there, or refuses\n");
        return 2;
    }

    /* Waits for the ack. A program that has better to do polls SIP_COMM_ControlerGetFd() before GetAck. */
    result = SIP_COMM_ControlerProfileConnect(handle, argv[1]);
    if (result == 0)
        result = SIP_COMM_ControlerGetAck(handle, &ack);
    SIP_COMM_ControlerDestruct(&handle);
    if (result != 0) {
        fprintf(stderr, "connect-profile: the SIP daemon has gone, or does not make sense (%d)\n", result);
        return 2;
    }

    printf("%s: ack %u, %s\n", argv[1], (unsigned int)ack, meaningOf(ack));
    return ack == SIPD_ACK_SUCCESS ? 0 : 1;
}
