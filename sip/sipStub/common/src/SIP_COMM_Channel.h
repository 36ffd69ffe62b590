#ifndef SIP_COMM_CHANNEL_H
#define SIP_COMM_CHANNEL_H

#include "ORMU_Export.h"
#include "SIPD_Messages.h"

// One client connection to the SIP daemon: its local stream socket and the framing of its messages.
//
// To be used from one thread. Every call blocks until the daemon has acted, without a time limit; whoever
// must not wait polls getFd() before receiving. Receiving is two calls: recvMsgType, then the recv...Msg of
// that type.
//
// Results are 0 for success, or:
//   1  not connected; another type is pending; the connection could not be made; a wrong SDP length
//   2  the socket could not be read or written
//   3  out of memory
//   5  the daemon closed the socket
// After 2, 3, 5 and a wrong SDP length the channel is closed; it closes through disconnectDaemon(), so that a
// subclass learns of it. What a failed receive was given to fill is left unspecified. A null pointer where
// one is required aborts the process. A daemon that has gone raises no SIGPIPE in the caller, whose handling
// of that signal is left as it is. The descriptor is close-on-exec.
class ORMU_SIPSETUP_EXPORT SIP_COMM_Channel
{
public:
    // Does not connect. appId is sent in every header.
    explicit SIP_COMM_Channel(_SIPD_APPID_E appId);
    virtual ~SIP_COMM_Channel();
    SIP_COMM_Channel(const SIP_COMM_Channel&) = delete;
    SIP_COMM_Channel& operator=(const SIP_COMM_Channel&) = delete;

    // Connects and registers. The daemon's ack to the registration is the next message to receive. An open
    // channel changes to the new connection when there is one, and otherwise stays on the old. A message that
    // was pending on the last connection is forgotten. A signal that
    // interrupts the wait for a busy daemon ends it with 1.
    virtual int connectDaemon();
    // Always 0, connected or not.
    virtual int disconnectDaemon();
    // -1 when closed.
    virtual int getFd();

    bool isConnected() const;

    // Reads the next header. A body that was left unread is read and thrown away first. *type is 0 on
    // failure.
    int recvMsgType(_SIPD_MSG_TYPE_E* type);

    // The bodies. A message of another type stays pending. The fixed size is read whatever the header
    // announced. sdp may be null, the SDP body is then thrown away; otherwise it has room for SIPD_SDP_MAX
    // bytes and gets no terminator. sdpLen may be null; it is set on success alone.
    int recvStatusMsg(_SIPD_MSG_STATUS_S* status, char* sdp, unsigned int* sdpLen);
    int recvAckMsg(_SIPD_APP_ACK_E* ack);
    int recvProfileMsg(_SIPD_MSG_PROFILE_S* profile);

    int sendProfileMsg(const _SIPD_MSG_PROFILE_S* profile);
    // A header without a body.
    int sendControlMsg(_SIPD_MSG_TYPE_E type);
    // uri may be null. sdp may be null when sdpLen is 0: the daemon takes what follows for the announced SDP
    // body.
    int sendCommandMsg(_SIPD_SIP_COMMAND_E cmd, int arg, const _SIPD_APP_URI_S* uri, const char* sdp,
                       unsigned int sdpLen);

    // Exactly len bytes, or a failure. buf is required even for none; writeSocket leaves it unchanged.
    int readSocket(char* buf, unsigned int len);
    int writeSocket(char* buf, unsigned int len);
    // Reads len bytes and throws them away.
    int clearReadSocket(unsigned int len);
    // Logs errno in words.
    void printSocketErrno();

protected:
    int fd;
    _SIPD_APPID_E appId;
    // Of the header whose body is still unread, as announced; SIPD_MSG_NONE when there is none.
    _SIPD_MSG_TYPE_E pendingType;
    uint32_t pendingLength;
};

#endif
