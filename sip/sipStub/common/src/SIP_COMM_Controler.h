#ifndef SIP_COMM_CONTROLER_H
#define SIP_COMM_CONTROLER_H

/* Connects, disconnects and asks about SIP profiles through the SIP daemon. C99 and C++.
 *
 * Construct; then any requests and queries; Destruct. A request (connect, disconnect, set name) is answered
 * by an ack, which SIP_COMM_ControlerGetAck reads; at most one request waits for its ack, and no query is
 * made meanwhile, since it would take the ack for its answer and fail. Queries (status, get name) read their
 * answer themselves.
 *
 * A handle belongs to one thread. Construct, the queries and GetAck block until the daemon answers, without a
 * time limit; whoever must not wait for an ack polls the descriptor first.
 *
 * Results are 0 for success, otherwise 1 or a code of SIP_COMM_Channel. Once an exchange with the daemon has
 * failed the connection is closed and every later call but Destruct fails: begin again with a new handle. A
 * null pointer aborts the process, except where it is said to be allowed. A daemon that has gone costs an
 * error, never a SIGPIPE.
 *
 * Profile names are the daemon's ("Profile0"). At most SIPD_PROFILE_NAME_MAX characters of one are sent. */

#include "ORMU_Export.h"
#include "SIPD_Messages.h"

#ifdef __cplusplus
class SIP_COMM_Channel;
extern "C" {
#else
typedef struct SIP_COMM_Channel SIP_COMM_Channel;
#endif

typedef struct _SIP_COMM_PROFILE_CONTROL_S
{
    SIP_COMM_Channel* channel; /* owned */
    uint8_t connected;         /* 1 while the channel is open */
    uint8_t waitAck;           /* 1 from a request until GetAck has tried to read its ack */
} _SIP_COMM_PROFILE_CONTROL_S;

/* Connects to the daemon and waits until it has answered the registration. *handle is the caller's, who gives
 * it to Destruct; it is null when the result is not 0: no daemon, the daemon refused, no memory. */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerConstruct(_SIP_COMM_PROFILE_CONTROL_S** handle);

/* Closes and frees *handle and makes it null. Both handle and *handle may be null. Always 0. */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerDestruct(_SIP_COMM_PROFILE_CONTROL_S** handle);

/* The requests. Refused with 1, and nothing is sent, while an earlier one waits for its ack. One that could
 * not be sent waits for GetAck too. */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerProfileConnect(_SIP_COMM_PROFILE_CONTROL_S* handle,
                                                          const char* profileName);
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerProfileDisconnect(_SIP_COMM_PROFILE_CONTROL_S* handle,
                                                             const char* profileName);
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerSetProfileName(_SIP_COMM_PROFILE_CONTROL_S* handle,
                                                          _SIPD_APPID_E appId, const char* profileName);

/* *status is set on success alone. */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerGetProfileStatus(_SIP_COMM_PROFILE_CONTROL_S* handle,
                                                            const char* profileName,
                                                            _SIPD_PROFILE_STATUS_E* status);

/* The name that belongs to an application. buf has size bytes, which are zeroed first. At most
 * SIPD_PROFILE_NAME_MAX characters are stored; in a buf no longer than the name, without a terminator. A
 * negative size aborts the process. */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerGetProfileName(_SIP_COMM_PROFILE_CONTROL_S* handle,
                                                          _SIPD_APPID_E appId, char* buf, int size);

/* The descriptor to poll for an ack; the handle keeps it. -1 once the connection is closed. */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerGetFd(_SIP_COMM_PROFILE_CONTROL_S* handle);

/* Reads the ack of the last request. 1, without reading, when no request waits for one. *ack is to be used
 * when the result is 0. */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerGetAck(_SIP_COMM_PROFILE_CONTROL_S* handle, _SIPD_APP_ACK_E* ack);

#ifdef __cplusplus
}
#endif

#endif
