// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SIP_COMM_RESULT_H
#define SIP_COMM_RESULT_H

/** @file
 * The results of the link to the SIP daemon. C99 and C++. */

/** The results of SIP_COMM_Channel and of the SIP_COMM_Controler functions, which return them as int. */
typedef enum SIP_COMM_RESULT_E {
    SIP_COMM_SUCCESS = 0,   /**< the call has done what it says */
    SIP_COMM_FAILED = 1,    /**< no daemon, a refusal, no connection, or a call or message out of turn */
    SIP_COMM_IO_ERROR = 2,  /**< the socket could not be read or written */
    SIP_COMM_NO_MEMORY = 3, /**< no memory for a body to discard */
    SIP_COMM_CLOSED = 5     /**< the daemon closed the connection */
} SIP_COMM_RESULT_E;

#endif
