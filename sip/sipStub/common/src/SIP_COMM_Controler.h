// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SIP_COMM_CONTROLER_H
#define SIP_COMM_CONTROLER_H

/** @file
 * Connects and disconnects SIP profiles through the SIP daemon, and asks about them. C99 and C++.
 *
 * Construct a handle, make any number of requests and queries, destruct it. The daemon answers a request
 * (connect, disconnect, set name) with an ack, which SIP_COMM_ControlerGetAck reads. Only one request may
 * wait for its ack. Make no query meanwhile: it would take the ack for its answer and fail. A query
 * (status, get name) reads its own answer.
 *
 * A handle is for use from one thread at a time; different handles do not know of each other. Construct, the
 * queries and GetAck block until the daemon answers, without a time limit of their own: sipd answers
 * Construct and queries at once, a connect within 8 seconds, a disconnect within 3. To avoid blocking, poll
 * the descriptor before GetAck. The others block only while the socket's buffer is full.
 *
 * Each result is a SIP_COMM_RESULT_E. After an exchange with the daemon has failed, the connection is
 * closed and every later call except Destruct fails: construct a new handle. A null pointer aborts the
 * process, except where the comment allows it. A daemon that has gone causes an error and no SIGPIPE.
 *
 * After fork() the two processes share one connection. Only one of them may go on using the handle;
 * Destruct in the other leaves the connection open. The descriptor is close-on-exec.
 *
 * Profile names are the daemon's ("Profile0"). At most SIPD_PROFILE_NAME_MAX characters of a name are
 * sent. */

#include "ORMU_Export.h"
#include "SIPD_Messages.h"
#include "SIP_COMM_Result.h"

#ifdef __cplusplus
class SIP_COMM_Channel;
extern "C" {
#else
typedef struct SIP_COMM_Channel SIP_COMM_Channel;
#endif

/** A handle: one connection to the daemon. Construct makes it, Destruct frees it; its fields are for reading.
 */
typedef struct _SIP_COMM_PROFILE_CONTROL_S
{
    SIP_COMM_Channel* channel; /**< owned */
    uint8_t connected;         /**< 1 while the channel is open */
    uint8_t waitAck;           /**< 1 from a request until GetAck has tried to read its ack */
} _SIP_COMM_PROFILE_CONTROL_S;

/** Connects to the daemon and waits for its answer to the registration: blocks until then. The caller owns
 * *handle and passes it to Destruct. SIP_COMM_SUCCESS; or, without a daemon, after a refusal or without
 * memory, SIP_COMM_FAILED, and *handle is null. Any thread. */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerConstruct(_SIP_COMM_PROFILE_CONTROL_S** handle);

/** Closes and frees *handle and sets it to null. handle and *handle may be null. Always SIP_COMM_SUCCESS.
 * Does not wait for the daemon, which cancels a connect in progress. The handle's thread. */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerDestruct(_SIP_COMM_PROFILE_CONTROL_S** handle);

/** Requests to connect the profile; GetAck reads the outcome. SIP_COMM_SUCCESS when the request is sent.
 * SIP_COMM_FAILED, and nothing is sent, while an earlier request waits for its ack, or when the connection is
 * closed. SIP_COMM_IO_ERROR when it cannot be sent: call GetAck all the same. The name stays the caller's.
 * Does not wait for the daemon. The handle's thread. */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerProfileConnect(_SIP_COMM_PROFILE_CONTROL_S* handle,
                                                          const char* profileName);
/** Requests to disconnect the profile; otherwise like SIP_COMM_ControlerProfileConnect(). */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerProfileDisconnect(_SIP_COMM_PROFILE_CONTROL_S* handle,
                                                             const char* profileName);
/** Requests to keep the profile's name for an application; otherwise like
 * SIP_COMM_ControlerProfileConnect(). */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerSetProfileName(_SIP_COMM_PROFILE_CONTROL_S* handle,
                                                          _SIPD_APPID_E appId, const char* profileName);

/** Asks whether the profile is connected: *status is SIPD_PROFILE_CONNECTED then. It is set on
 * SIP_COMM_SUCCESS only; every other result means that there is no answer. Blocks until the daemon answers.
 * The handle's thread. */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerGetProfileStatus(_SIP_COMM_PROFILE_CONTROL_S* handle,
                                                            const char* profileName,
                                                            _SIPD_PROFILE_STATUS_E* status);

/** Gets the profile name that belongs to an application. buf is the caller's and has size bytes, which are
 * set to zero first. At most SIPD_PROFILE_NAME_MAX characters are stored; a name that fills the buffer has no
 * terminator. A negative size aborts the process. Every result but SIP_COMM_SUCCESS means that there is no
 * answer. Blocks until the daemon answers. The handle's thread. */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerGetProfileName(_SIP_COMM_PROFILE_CONTROL_S* handle,
                                                          _SIPD_APPID_E appId, char* buf, int size);

/** The descriptor to poll for an ack: it becomes readable. The handle owns it. It stays the same until a
 * failure closes the connection, and is -1 from then on. Does not block. The handle's thread. */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerGetFd(_SIP_COMM_PROFILE_CONTROL_S* handle);

/** Reads the ack of the last request: blocks until the daemon has acted. *ack is valid only when the result
 * is SIP_COMM_SUCCESS. When no request waits for an ack, or another message comes, the result is
 * SIP_COMM_FAILED; in the first case nothing is read. SIP_COMM_IO_ERROR and SIP_COMM_CLOSED: the connection
 * is gone. The handle's thread. */
ORMU_SIPSETUP_EXPORT int SIP_COMM_ControlerGetAck(_SIP_COMM_PROFILE_CONTROL_S* handle, _SIPD_APP_ACK_E* ack);

#ifdef __cplusplus
}
#endif

#endif
