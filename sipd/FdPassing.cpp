// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "FdPassing.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/types.h>

namespace {

// A message of one byte, with room for one descriptor.
struct Message
{
    Message()
    {
        header.msg_iov = &data;
        header.msg_iovlen = 1;
        header.msg_control = control.data();
        header.msg_controllen = control.size();
    }
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

    char byte = 0;
    iovec data = {&byte, 1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control = {};
    msghdr header = {};
};

} // namespace

bool sendFd(int channel, int fd)
{
    Message message;
    cmsghdr* const control = CMSG_FIRSTHDR(&message.header);
    control->cmsg_level = SOL_SOCKET;
    control->cmsg_type = SCM_RIGHTS;
    control->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(control), &fd, sizeof(fd));
    return sendmsg(channel, &message.header, MSG_NOSIGNAL | MSG_DONTWAIT) >= 0;
}

ReceivedFd receiveFd(int channel)
{
    Message message;
    const ssize_t length = recvmsg(channel, &message.header, MSG_CMSG_CLOEXEC);
    if (length < 0 && (errno == EAGAIN || errno == EINTR))
        return {};
    if (length <= 0)
        return {.state = ReceivedFd::State::Closed};
    const cmsghdr* const control = CMSG_FIRSTHDR(&message.header);
    if (control == nullptr || control->cmsg_type != SCM_RIGHTS)
        return {};
    int fd = -1;
    std::memcpy(&fd, CMSG_DATA(control), sizeof(fd));
    return {ReceivedFd::State::Received, FileDescriptor(fd)};
}
