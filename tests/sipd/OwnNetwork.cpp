// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OwnNetwork.h"

#include "ChildProcess.h"

#include <arpa/inet.h>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

ifreq interface(std::string_view name)
{
    ifreq request = {};
    name.copy(request.ifr_name, sizeof(request.ifr_name) - 1);
    return request;
}

bool configure(unsigned long what, ifreq request)
{
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    const bool isDone = ioctl(fd, what, &request) == 0;
    close(fd);
    return isDone;
}

bool bringUp(const char* name)
{
    ifreq request = interface(name);
    request.ifr_flags = IFF_UP;
    return configure(SIOCSIFFLAGS, request);
}

bool enterOwnNetwork()
{
    return unshare(CLONE_NEWNET) == 0 && bringUp("lo");
}

constexpr char INTERFACE[] = "test0";

bool addInterface()
{
    const int tunnel = open("/dev/net/tun", O_RDWR | O_CLOEXEC); // the interface ends with it
    ifreq request = interface(INTERFACE);
    request.ifr_flags = IFF_TUN | IFF_NO_PI;
    if (tunnel < 0 || ioctl(tunnel, TUNSETIFF, &request) != 0)
        return false;
    return changeAddress("192.0.2.1") && bringUp(INTERFACE);
}

bool mountFile(const std::string& file, const std::string& place)
{
    return unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount(file.c_str(), place.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

} // namespace

bool changeAddress(const std::string& address)
{
    sockaddr_in binary = {};
    binary.sin_family = AF_INET;
    ifreq request = interface(INTERFACE);
    if (inet_pton(AF_INET, address.c_str(), &binary.sin_addr) != 1)
        return false;
    std::memcpy(&request.ifr_addr, &binary, sizeof(binary));
    return configure(SIOCSIFADDR, request);
}

void checkInOwnNetwork(const OwnNetwork& network, const std::function<bool()>& holds)
{
    constexpr int NOT_POSSIBLE = 77;
    const int outcome = runInChild([&] {
        if (!enterOwnNetwork() || (network.hasInterface && !addInterface()) ||
            (!network.file.empty() && !mountFile(network.file, network.place)))
            return NOT_POSSIBLE;
        return holds() && !testing::Test::HasFailure() ? 0 : 1;
    });
    if (outcome == NOT_POSSIBLE)
        GTEST_SKIP() << "a private network is not possible here";
    EXPECT_EQ(outcome, 0);
}
