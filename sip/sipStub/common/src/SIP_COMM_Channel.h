// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SIP_COMM_CHANNEL_H
#define SIP_COMM_CHANNEL_H

#include "ORMU_Export.h"
#include "SIPD_Messages.h"
#include "SIP_COMM_Result.h"

// A client's connection to the SIP daemon: a local stream socket and the framing of the messages on it.
//
// For use from one thread. Every call blocks until the daemon has acted, without a time limit. To avoid
// blocking, poll getFd() before receiving. A message is received in two calls: recvMsgType(), then the
// recv...Msg() of its type.
//
// Each int result is a SIP_COMM_RESULT_E. The channel closes after every result but SIP_COMM_SUCCESS and
// SIP_COMM_FAILED. It also closes after two failures: an SDP length that is too large, and a registration
// that connectDaemon() cannot send. It closes through
// disconnectDaemon(), so that a subclass is told. After a failed receive the contents of the output are
// unspecified.
//
// A null pointer aborts the process, except where the comment allows it. A daemon that has gone causes an
// error and no SIGPIPE; the caller's handling of that signal stays as it is. The descriptor is
// close-on-exec.
class ORMU_SIPSETUP_EXPORT SIP_COMM_Channel
{
public:
    // Does not connect. Every header sent carries appId.
    explicit SIP_COMM_Channel(_SIPD_APPID_E appId);
    virtual ~SIP_COMM_Channel();
    SIP_COMM_Channel(const SIP_COMM_Channel&) = delete;
    SIP_COMM_Channel& operator=(const SIP_COMM_Channel&) = delete;

    // Connects and registers. The daemon's ack to the registration is the next message to receive. On an
    // open channel the new connection replaces the old one and its pending message; if none can be made,
    // the old one stays. A signal that interrupts the wait for a busy daemon makes the call fail.
    virtual int connectDaemon();
    // Always SIP_COMM_SUCCESS, connected or not.
    virtual int disconnectDaemon();
    // -1 when closed.
    virtual int getFd();

    bool isConnected() const;

    // Reads the next header, after discarding a body that is still unread. *type is SIPD_MSG_NONE on
    // failure.
    int recvMsgType(_SIPD_MSG_TYPE_E* type);

    // Read the body. A message of another type stays pending (SIP_COMM_FAILED). The body's fixed size is
    // read whatever length the header announced. sdp has room for SIPD_SDP_MAX bytes and gets no
    // terminator, or is null to discard the SDP body. sdpLen may be null; it is set on success only.
    int recvStatusMsg(_SIPD_MSG_STATUS_S* status, char* sdp, unsigned int* sdpLen);
    int recvAckMsg(_SIPD_APP_ACK_E* ack);
    int recvProfileMsg(_SIPD_MSG_PROFILE_S* profile);

    int sendProfileMsg(const _SIPD_MSG_PROFILE_S* profile);
    // Sends a header without a body.
    int sendControlMsg(_SIPD_MSG_TYPE_E type);
    // uri may be null. sdp may be null only when sdpLen is 0: the daemon reads sdpLen bytes whatever they
    // are.
    int sendCommandMsg(_SIPD_SIP_COMMAND_E cmd, int arg, const _SIPD_APP_URI_S* uri, const char* sdp,
                       unsigned int sdpLen);

    // Transfer exactly len bytes. buf is required even when len is 0. writeSocket() does not change it.
    int readSocket(char* buf, unsigned int len);
    int writeSocket(char* buf, unsigned int len);
    // Reads len bytes and discards them.
    int clearReadSocket(unsigned int len);
    // Logs errno in words.
    void printSocketErrno();

protected:
    int fd;
    _SIPD_APPID_E appId;
    // The type and length in the header whose body is unread; SIPD_MSG_NONE when there is none.
    _SIPD_MSG_TYPE_E pendingType;
    uint32_t pendingLength;
};

#endif
