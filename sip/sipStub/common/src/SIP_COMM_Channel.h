// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SIP_COMM_CHANNEL_H
#define SIP_COMM_CHANNEL_H

/// @file
/// A connection to the SIP daemon.

#include "ORMU_Export.h"
#include "SIPD_Messages.h"
#include "SIP_COMM_Result.h"

/// A client's connection to the SIP daemon: a local stream socket and the framing of the messages on it.
///
/// For use from one thread at a time. Receiving blocks until the daemon has sent the message, sending while
/// the socket's buffer is full, without a time limit. To avoid blocking, poll getFd() before receiving. A
/// message is received in two calls: recvMsgType(), then the recv...Msg() of its type.
///
/// Each int result is a SIP_COMM_RESULT_E. The channel closes after every result but SIP_COMM_SUCCESS and
/// SIP_COMM_FAILED. It also closes after two failures: an SDP length that is too large, and a registration
/// that connectDaemon() cannot send. It closes through
/// disconnectDaemon(), so that a subclass is told. After a failed receive the contents of the output are
/// unspecified.
///
/// A null pointer aborts the process, except where the comment allows it. A daemon that has gone causes an
/// error and no SIGPIPE; the caller's handling of that signal stays as it is. The descriptor is
/// close-on-exec.
class ORMU_SIPSETUP_EXPORT SIP_COMM_Channel
{
public:
    /// Does not connect. Every header sent carries appId.
    explicit SIP_COMM_Channel(_SIPD_APPID_E appId);
    /// Closes the channel. Does not block.
    virtual ~SIP_COMM_Channel();
    SIP_COMM_Channel(const SIP_COMM_Channel&) = delete;
    SIP_COMM_Channel& operator=(const SIP_COMM_Channel&) = delete;

    /// Connects and registers. The daemon's ack to the registration is the next message to receive. On an
    /// open channel the new connection replaces the old one and its pending message; if none can be made,
    /// the result is SIP_COMM_FAILED and the old one stays. Blocks while the daemon is busy. A signal that
    /// interrupts the wait for a busy daemon makes the call fail.
    virtual int connectDaemon();
    /// Closes the channel. Always SIP_COMM_SUCCESS, connected or not. Does not block.
    virtual int disconnectDaemon();
    /// The descriptor, which the channel owns; -1 when closed. Does not block.
    virtual int getFd();

    /// Whether the channel is open. Does not block.
    bool isConnected() const;

    /// Reads the next header, after discarding a body that is still unread. *type is SIPD_MSG_NONE on
    /// failure: SIP_COMM_FAILED when the channel is closed, or the result of readSocket(). Blocks until a
    /// header has come.
    int recvMsgType(_SIPD_MSG_TYPE_E* type);

    /// Reads the body of a status message. A message of another type stays pending (SIP_COMM_FAILED). The
    /// body's fixed size is read whatever length the header announced. sdp has room for SIPD_SDP_MAX bytes
    /// and gets no terminator, or is null to discard the SDP body. sdpLen may be null; it is set on success
    /// only, to a number of bytes. The buffers are the caller's. Blocks until the body has come.
    int recvStatusMsg(_SIPD_MSG_STATUS_S* status, char* sdp, unsigned int* sdpLen);
    /// Reads the body of an ack, like recvStatusMsg().
    int recvAckMsg(_SIPD_APP_ACK_E* ack);
    /// Reads the body of a profile message, like recvStatusMsg(). The name may lack a terminator.
    int recvProfileMsg(_SIPD_MSG_PROFILE_S* profile);

    /// Sends a profile message. SIP_COMM_FAILED when the channel is closed, or the result of writeSocket().
    int sendProfileMsg(const _SIPD_MSG_PROFILE_S* profile);
    /// Sends a header without a body; the results are those of sendProfileMsg().
    int sendControlMsg(_SIPD_MSG_TYPE_E type);
    /// Sends a command; the results are those of sendProfileMsg(). uri may be null. sdp may be null only when
    /// sdpLen is 0: the daemon reads sdpLen bytes whatever they are.
    int sendCommandMsg(_SIPD_SIP_COMMAND_E cmd, int arg, const _SIPD_APP_URI_S* uri, const char* sdp,
                       unsigned int sdpLen);

    /// Reads exactly len bytes: blocks until they have come. buf is the caller's, and required even when len
    /// is 0. SIP_COMM_IO_ERROR, or SIP_COMM_CLOSED at the end of the stream.
    int readSocket(char* buf, unsigned int len);
    /// Writes exactly len bytes, and does not change them. SIP_COMM_IO_ERROR when that fails.
    int writeSocket(char* buf, unsigned int len);
    /// Reads len bytes and discards them, like readSocket(). SIP_COMM_NO_MEMORY when there is no memory for
    /// them.
    int clearReadSocket(unsigned int len);
    /// Logs errno in words on standard error.
    void printSocketErrno();

protected:
    int fd;              ///< -1 when the channel is closed.
    _SIPD_APPID_E appId; ///< In every header that is sent.
    /// The type in the header whose body is unread; SIPD_MSG_NONE when there is none.
    _SIPD_MSG_TYPE_E pendingType;
    /// The length in that header, in bytes.
    uint32_t pendingLength;
};

#endif
