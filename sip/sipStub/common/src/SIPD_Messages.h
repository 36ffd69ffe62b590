// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SIPD_MESSAGES_H
#define SIPD_MESSAGES_H

/** @file
 * The messages between the SIP daemon and its clients, described in docs/protocol.md. C99 and C++.
 *
 * A message is a _SIPD_MSG_HEAD_S and the body of its type. Both ends run on one machine: integers have its
 * byte order, and the structures below are the bytes on the socket. */

#include <stdint.h>

/** The local stream socket on which the daemon listens. */
#define SIPD_SOCKET_PATH "/tmp/sipd_us"

/** The longest profile name that fits with its terminator, in bytes. */
#define SIPD_PROFILE_NAME_MAX 127
/** The longest SDP body, in bytes. */
#define SIPD_SDP_MAX 1024

/** In C++ the enums are declared 32 bits wide, so that they can hold every received value. */
#ifdef __cplusplus
#define SIPD_32_BITS : uint32_t
#else
#define SIPD_32_BITS
#endif

/** The type of a message. */
typedef enum _SIPD_MSG_TYPE_E SIPD_32_BITS {
    SIPD_MSG_NONE = 0,     /**< never sent: no message */
    SIPD_MSG_REGISTER = 1, /**< from a client, its first message: no body */
    SIPD_MSG_PROFILE = 3,  /**< from both: a _SIPD_MSG_PROFILE_S */
    SIPD_MSG_COMMAND = 4,  /**< from a client: a _SIPD_MSG_COMMAND_S and an SDP body */
    SIPD_MSG_STATUS = 5,   /**< from the daemon: a _SIPD_MSG_STATUS_S and an SDP body */
    SIPD_MSG_ACK = 7       /**< from the daemon: a _SIPD_APP_ACK_E */
} _SIPD_MSG_TYPE_E;

/** The application that a client is. */
typedef enum _SIPD_APPID_E SIPD_32_BITS {
    SIPD_APPID_SETUP = 100 /**< this library; other values are other clients of the daemon */
} _SIPD_APPID_E;

/** The body of an ack message. */
typedef enum _SIPD_APP_ACK_E SIPD_32_BITS {
    SIPD_ACK_SUCCESS = 0, /**< the request was carried out; the client is admitted */
    SIPD_ACK_FAILED = 1,  /**< it failed; in the answer to a registration: the client is refused */
    SIPD_ACK_SERVICE_UNAVAILABLE = 2, /**< the SIP service is not available */
    SIPD_ACK_INCORRECT_PROFILE = 3,   /**< the profile is not acceptable */
    SIPD_ACK_CONNECT_FAILED = 4       /**< the server could not be reached */
} _SIPD_APP_ACK_E;

/** The status of a profile. */
typedef enum _SIPD_PROFILE_STATUS_E SIPD_32_BITS {
    SIPD_PROFILE_CONNECTED = 2 /**< every other value: not connected */
} _SIPD_PROFILE_STATUS_E;

/** The request in a profile message. */
typedef enum _SIPD_PROFILE_CTRL_E SIPD_32_BITS {
    PROFILE_CTRL_CONNECT = 0,    /**< connect the profile of that name; answered by an ack */
    PROFILE_CTRL_DISCONNECT = 1, /**< disconnect it; answered by an ack */
    PROFILE_CTRL_GET_STATUS = 3, /**< answered by a profile message with its status */
    PROFILE_CTRL_SET_NAME = 4,   /**< keep the name for the application; answered by an ack */
    PROFILE_CTRL_GET_NAME = 5    /**< answered by a profile message with the name that is kept */
} _SIPD_PROFILE_CTRL_E;

/** The daemon defines the commands. */
typedef enum _SIPD_SIP_COMMAND_E SIPD_32_BITS {
    SIPD_SIP_COMMAND_LARGEST = 0x7fffffff /**< not a command: C requires an enumerator */
} _SIPD_SIP_COMMAND_E;

/** The header of every message. */
typedef struct _SIPD_MSG_HEAD_S
{
    uint32_t length;       /**< of the body that follows, in bytes */
    _SIPD_MSG_TYPE_E type; /**< of the message */
    _SIPD_APPID_E appId;   /**< of the sender */
} _SIPD_MSG_HEAD_S;

/** The body of a profile message. */
typedef struct _SIPD_MSG_PROFILE_S
{
    _SIPD_PROFILE_CTRL_E request;  /**< what the client asks for; an answer repeats it */
    _SIPD_APPID_E appId;           /**< the application whose profile name is set or asked for; otherwise 0 */
    _SIPD_PROFILE_STATUS_E status; /**< 0 in a request */
    char name[SIPD_PROFILE_NAME_MAX + 1]; /**< the profile's group, padded with zeros */
} _SIPD_MSG_PROFILE_S;

/** The body of a status message, before its SDP body. */
typedef struct _SIPD_MSG_STATUS_S
{
    uint8_t fields[264];  /**< defined by the daemon */
    uint8_t sdpLength[2]; /**< of the SDP body that follows, in bytes; low byte first on every machine */
} _SIPD_MSG_STATUS_S;

/** The address in a command. */
typedef struct _SIPD_APP_URI_S
{
    uint8_t bytes[256]; /**< defined by the daemon */
} _SIPD_APP_URI_S;

/** The body of a command message, before its SDP body. */
typedef struct __attribute__((packed)) _SIPD_MSG_COMMAND_S
{
    _SIPD_SIP_COMMAND_E command; /**< defined by the daemon */
    int32_t argument;            /**< of the command */
    _SIPD_APP_URI_S uri;         /**< all zero when there is none */
    uint16_t sdpLength;          /**< of the SDP body that follows, in bytes */
} _SIPD_MSG_COMMAND_S;

/* A negative array size stops the compiler in either language. */
/** @cond */
#define SIPD_ASSERT_SIZE(type, size) typedef char type##_has_its_size[sizeof(type) == (size) ? 1 : -1]
SIPD_ASSERT_SIZE(_SIPD_MSG_TYPE_E, 4);
SIPD_ASSERT_SIZE(_SIPD_APPID_E, 4);
SIPD_ASSERT_SIZE(_SIPD_APP_ACK_E, 4);
SIPD_ASSERT_SIZE(_SIPD_PROFILE_STATUS_E, 4);
SIPD_ASSERT_SIZE(_SIPD_PROFILE_CTRL_E, 4);
SIPD_ASSERT_SIZE(_SIPD_SIP_COMMAND_E, 4);
SIPD_ASSERT_SIZE(_SIPD_MSG_HEAD_S, 12);
SIPD_ASSERT_SIZE(_SIPD_MSG_PROFILE_S, 140);
SIPD_ASSERT_SIZE(_SIPD_MSG_STATUS_S, 266);
SIPD_ASSERT_SIZE(_SIPD_APP_URI_S, 256);
SIPD_ASSERT_SIZE(_SIPD_MSG_COMMAND_S, 266);

/** @endcond */

#undef SIPD_ASSERT_SIZE
#undef SIPD_32_BITS

#endif
