// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SIP_COMM_Channel.h"

#include "ORMU_Diagnostics.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <new>
#include <span>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

bool isPending(int signal)
{
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, signal) == 1;
}

// write(), but a reader that has gone costs an error and no SIGPIPE. The signal is held back for this
// thread alone, and only the one that the write itself raised is taken away.
ssize_t writeWithoutSigpipe(int fd, const char* buf, size_t len)
{
    sigset_t sigpipe;
    sigset_t callersMask;
    sigemptyset(&sigpipe);
    sigaddset(&sigpipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &sigpipe, &callersMask);
    // Only a caller that blocks it can have one waiting.
    const bool callerHasOne = sigismember(&callersMask, SIGPIPE) == 1 && isPending(SIGPIPE);

    const ssize_t count = write(fd, buf, len);
    const int writeErrno = errno;
    if (count < 0 && writeErrno == EPIPE) {
        const timespec noWait = {};
        sigtimedwait(&sigpipe, nullptr, &noWait);
        // One that waited for this thread has merged with ours; one that waits for the process has not.
        if (callerHasOne && !isPending(SIGPIPE))
            pthread_kill(pthread_self(), SIGPIPE);
    }
    pthread_sigmask(SIG_SETMASK, &callersMask, nullptr);
    errno = writeErrno;
    return count;
}

char* bytesOf(void* object)
{
    return static_cast<char*>(object);
}

// The socket is written from it, never to it.
char* bytesOf(const void* object)
{
    return static_cast<char*>(const_cast<void*>(object));
}

// The result of one read or write of at most asked bytes that returned count.
int checkTransfer(SIP_COMM_Channel& channel, ssize_t count, size_t asked)
{
    if (count < 0) {
        channel.printSocketErrno();
        return SIP_COMM_IO_ERROR;
    }
    if (count == 0) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "socket has been closed");
        return SIP_COMM_CLOSED;
    }
    if (static_cast<size_t>(count) > asked) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "unpossiable");
        return SIP_COMM_IO_ERROR;
    }
    return SIP_COMM_SUCCESS;
}

// Reads or writes all of rest by call, in the name of function. A signal that interrupts is logged as
// interruption and the call repeated; a failure closes the channel.
template <auto call>
inline int transfer(SIP_COMM_Channel& channel, int fd, std::span<char> rest, const char* function,
                    const char* interruption)
{
    while (!rest.empty()) {
        const ssize_t count = call(fd, rest.data(), rest.size());
        if (count < 0 && errno == EINTR) {
            ORMU_LOG_AS(function, ORMU_LEVEL_INFO, "%s", interruption);
            continue;
        }
        const int result = checkTransfer(channel, count, rest.size());
        if (result != SIP_COMM_SUCCESS) {
            channel.disconnectDaemon();
            return result;
        }
        rest = rest.subspan(static_cast<size_t>(count));
    }
    return SIP_COMM_SUCCESS;
}

// Whether the pending message has that type; it is then no longer pending.
bool takePending(_SIPD_MSG_TYPE_E& pending, _SIPD_MSG_TYPE_E type, const char* name)
{
    if (pending != type) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "is not a %s message", name);
        return false;
    }
    pending = SIPD_MSG_NONE;
    return true;
}

// The size is the body's own, whatever the header announced.
template <class Body>
int readBody(SIP_COMM_Channel& channel, Body* body, const char* name)
{
    const int result = channel.readSocket(bytesOf(body), sizeof(*body));
    if (result != SIP_COMM_SUCCESS)
        ORMU_LOG(ORMU_LEVEL_ERROR, "read %s messsage fail", name);
    return result;
}

} // namespace

SIP_COMM_Channel::SIP_COMM_Channel(_SIPD_APPID_E senderId)
    : fd(-1), appId(senderId), pendingType(SIPD_MSG_NONE), pendingLength(0)
{
}

SIP_COMM_Channel::~SIP_COMM_Channel()
{
    if (fd > 0)
        SIP_COMM_Channel::disconnectDaemon();
}

int SIP_COMM_Channel::connectDaemon()
{
    const int newFd = socket(AF_UNIX, SOCK_STREAM, 0);
    if (newFd <= 0) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "socket create fail");
        if (newFd == 0)
            close(newFd);
        return SIP_COMM_FAILED;
    }
    fcntl(newFd, F_SETFD, FD_CLOEXEC);

    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, SIPD_SOCKET_PATH, sizeof(address.sun_path) - 1);
    if (connect(newFd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "connect fail path %s", address.sun_path);
        close(newFd);
        return SIP_COMM_FAILED;
    }

    if (isConnected())
        disconnectDaemon();
    fd = newFd;
    pendingType = SIPD_MSG_NONE;
    if (sendControlMsg(SIPD_MSG_REGISTER) != SIP_COMM_SUCCESS) {
        // Not through an override, which need not close.
        SIP_COMM_Channel::disconnectDaemon();
        return SIP_COMM_FAILED;
    }
    return SIP_COMM_SUCCESS;
}

int SIP_COMM_Channel::disconnectDaemon()
{
    if (fd > 0) {
        close(fd);
        fd = -1;
    }
    return SIP_COMM_SUCCESS;
}

int SIP_COMM_Channel::getFd()
{
    return fd;
}

bool SIP_COMM_Channel::isConnected() const
{
    return fd > 0;
}

int SIP_COMM_Channel::recvMsgType(_SIPD_MSG_TYPE_E* type)
{
    ORMU_ASSERT(type != nullptr);
    *type = SIPD_MSG_NONE;
    if (fd <= 0) {
        ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, " connect dammon first");
        return SIP_COMM_FAILED;
    }
    if (pendingType != SIPD_MSG_NONE) {
        ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, "the last message has not been deal with , clear it");
        const int result = clearReadSocket(pendingLength);
        if (result != SIP_COMM_SUCCESS) {
            ORMU_LOG(ORMU_LEVEL_ERROR, "read message body fail");
            return result;
        }
        pendingType = SIPD_MSG_NONE;
    }

    _SIPD_MSG_HEAD_S head;
    const int result = readSocket(bytesOf(&head), sizeof(head));
    if (result != SIP_COMM_SUCCESS) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "read head fail");
        return result;
    }
    pendingType = head.type;
    pendingLength = head.length;
    *type = head.type;
    return SIP_COMM_SUCCESS;
}

int SIP_COMM_Channel::recvStatusMsg(_SIPD_MSG_STATUS_S* status, char* sdp, unsigned int* sdpLen)
{
    ORMU_ASSERT(status != nullptr);
    if (!takePending(pendingType, SIPD_MSG_STATUS, "status"))
        return SIP_COMM_FAILED;
    ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, "recieve status message");
    int result = readBody(*this, status, "status");
    if (result != SIP_COMM_SUCCESS)
        return result;

    const unsigned int length = status->sdpLength[0] + 256U * status->sdpLength[1];
    if (length > SIPD_SDP_MAX) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "sdp length wrong in status message");
        disconnectDaemon();
        return SIP_COMM_FAILED;
    }
    if (length != 0) {
        if (sdp != nullptr) {
            result = readSocket(sdp, length);
        } else {
            ORMU_LOG(ORMU_LEVEL_INFO, "have sdp body , but you do not need it");
            result = clearReadSocket(length);
        }
        if (result != SIP_COMM_SUCCESS) {
            ORMU_LOG(ORMU_LEVEL_ERROR, "read sdp body fail");
            return result;
        }
    }
    if (sdpLen != nullptr)
        *sdpLen = length;
    return SIP_COMM_SUCCESS;
}

int SIP_COMM_Channel::recvAckMsg(_SIPD_APP_ACK_E* ack)
{
    ORMU_ASSERT(ack != nullptr);
    ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, "recieve ack message");
    return takePending(pendingType, SIPD_MSG_ACK, "ack") ? readBody(*this, ack, "ack") : SIP_COMM_FAILED;
}

int SIP_COMM_Channel::recvProfileMsg(_SIPD_MSG_PROFILE_S* profile)
{
    ORMU_ASSERT(profile != nullptr);
    ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, "recieve profile message");
    return takePending(pendingType, SIPD_MSG_PROFILE, "profile") ? readBody(*this, profile, "profile")
                                                                 : SIP_COMM_FAILED;
}

int SIP_COMM_Channel::sendProfileMsg(const _SIPD_MSG_PROFILE_S* profile)
{
    if (fd == -1) {
        ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, " connect dammon first");
        return SIP_COMM_FAILED;
    }
    ORMU_ASSERT(profile != nullptr);
    _SIPD_MSG_HEAD_S head = {sizeof(*profile), SIPD_MSG_PROFILE, appId};
    int result = writeSocket(bytesOf(&head), sizeof(head));
    if (result != SIP_COMM_SUCCESS) {
        ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, " fail send head message");
        return result;
    }
    result = writeSocket(bytesOf(profile), sizeof(*profile));
    if (result != SIP_COMM_SUCCESS)
        ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, " fail send profile message");
    return result;
}

int SIP_COMM_Channel::sendControlMsg(_SIPD_MSG_TYPE_E type)
{
    if (fd == -1) {
        ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, " connect dammon first");
        return SIP_COMM_FAILED;
    }
    _SIPD_MSG_HEAD_S head = {0, type, appId};
    const int result = writeSocket(bytesOf(&head), sizeof(head));
    if (result != SIP_COMM_SUCCESS)
        ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, " fail send head message");
    return result;
}

int SIP_COMM_Channel::sendCommandMsg(_SIPD_SIP_COMMAND_E cmd, int arg, const _SIPD_APP_URI_S* uri,
                                     const char* sdp, unsigned int sdpLen)
{
    if (fd == -1) {
        ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, " connect dammon first");
        return SIP_COMM_FAILED;
    }
    ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, "command %d , sdp len %d", static_cast<int>(cmd),
                      static_cast<int>(sdpLen));
    _SIPD_MSG_COMMAND_S command = {};
    command.command = cmd;
    command.argument = arg;
    if (uri != nullptr)
        command.uri = *uri;
    command.sdpLength = static_cast<uint16_t>(sdpLen);

    _SIPD_MSG_HEAD_S head = {static_cast<uint32_t>(sizeof(command)) + sdpLen, SIPD_MSG_COMMAND, appId};
    int result = writeSocket(bytesOf(&head), sizeof(head));
    if (result != SIP_COMM_SUCCESS) {
        ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, " fail send head message");
        return result;
    }
    result = writeSocket(bytesOf(&command), sizeof(command));
    if (result != SIP_COMM_SUCCESS) {
        ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, " fail send command message");
        return result;
    }
    if (sdp != nullptr && sdpLen != 0) {
        result = writeSocket(bytesOf(sdp), sdpLen);
        if (result != SIP_COMM_SUCCESS)
            ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, " fail send sdp body");
    }
    return result;
}

int SIP_COMM_Channel::readSocket(char* buf, unsigned int len)
{
    ORMU_ASSERT(buf != nullptr);
    return transfer<read>(*this, fd, {buf, len}, __func__, "EINTR happen in read");
}

int SIP_COMM_Channel::writeSocket(char* buf, unsigned int len)
{
    ORMU_ASSERT(buf != nullptr);
    return transfer<writeWithoutSigpipe>(*this, fd, {buf, len}, __func__, "EINTR happen in write");
}

int SIP_COMM_Channel::clearReadSocket(unsigned int len)
{
    const std::unique_ptr<char[]> buf(new (std::nothrow) char[len]);
    if (buf == nullptr) {
        disconnectDaemon();
        ORMU_LOG(ORMU_LEVEL_ERROR, "no memory");
        return SIP_COMM_NO_MEMORY;
    }
    return readSocket(buf.get(), len);
}

void SIP_COMM_Channel::printSocketErrno()
{
    switch (errno) {
    case EINTR:
        ORMU_LOG(ORMU_LEVEL_ERROR, "r/w was interrupted by  a  signal  ");
        break;
    case EBADF:
        ORMU_LOG(ORMU_LEVEL_ERROR, "bad fd %d", fd);
        break;
    case EAGAIN:
        ORMU_LOG(ORMU_LEVEL_ERROR, "selected , but read nothing or can not wirte");
        break;
    case EFAULT:
        ORMU_LOG(ORMU_LEVEL_ERROR, "buf is outside your accessible address space.");
        break;
    case EINVAL:
        ORMU_LOG(ORMU_LEVEL_ERROR, "fd is attached to an object which is unsuitable");
        break;
    case EFBIG:
        ORMU_LOG(ORMU_LEVEL_ERROR, "write too much bytes");
        break;
    case ENOSPC:
        ORMU_LOG(ORMU_LEVEL_ERROR, "no room for wite");
        break;
    default:
        ORMU_LOG(ORMU_LEVEL_ERROR, "fail when read or write socket %d", errno);
    }
}
