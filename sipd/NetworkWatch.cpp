// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "NetworkWatch.h"

#include "Log.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace {

// An address, its routes and its interface change one shortly after the other.
constexpr std::chrono::milliseconds NETWORK_SETTLE_TIME{200};

constexpr unsigned int NETWORK_CHANGES =
    RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_IFADDR | RTMGRP_IPV6_ROUTE;

bool subscribe(int fd)
{
    sockaddr_nl address = {};
    address.nl_family = AF_NETLINK;
    address.nl_groups = NETWORK_CHANGES;
    return bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

} // namespace

NetworkWatch::NetworkWatch(EventLoop& loop, Clock& clock, std::function<void()> onChanged)
    : netlink_(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE)),
      settled_(clock.makeTimer([this, onChanged = std::move(onChanged)] {
          isSettling_ = false;
          onChanged();
      }))
{
    if (!netlink_.isOpen() || !subscribe(netlink_.get())) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "changes of the network are noticed late: %s", std::strerror(errno));
        return;
    }
    watch_.emplace(loop, netlink_.get(), POLLIN, [this](int) { handleMessages(); });
}

// Their contents do not matter. When the kernel has dropped some, recv() fails once, which is a change too.
void NetworkWatch::handleMessages()
{
    std::array<char, 8192> messages;
    while (recv(netlink_.get(), messages.data(), messages.size(), 0) > 0) {
    }
    if (!std::exchange(isSettling_, true))
        settled_->set(NETWORK_SETTLE_TIME);
}
