// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ServerAddress.h"
#include "OwnNetwork.h"

#include <cerrno>
#include <gtest/gtest.h>

TEST(ServerAddress, IsParsedFromDigitsOnly)
{
    EXPECT_EQ(ServerAddress::parse("192.0.2.1", 5070)->uriHost(), "192.0.2.1");
    EXPECT_EQ(ServerAddress::parse("2001:db8::1", 5070)->uriHost(), "[2001:db8::1]");
    EXPECT_EQ(ServerAddress::parse("2001:db8::1", 5070)->port(), 5070);
    EXPECT_EQ(ServerAddress::parse("192.0.2.1", 65535)->port(), 65535);
    EXPECT_FALSE(ServerAddress::parse("localhost", 5070));
    EXPECT_FALSE(ServerAddress::parse("[::1]", 5070));
    EXPECT_FALSE(ServerAddress::parse(std::string("::1\0x", 5), 5070));
    EXPECT_FALSE(ServerAddress::parse(std::string("127.0.0.1\0", 10), 5070));
}

TEST(ServerAddress, KnowsTheWayThere)
{
    EXPECT_EQ(ServerAddress::parse("127.0.0.1", 5070)->localUriHost(), "127.0.0.1");
}

TEST(ServerAddress, KnowsThatThereIsNoWayWithoutANetwork)
{
    checkInOwnNetwork({}, [] {
        return !isAnyNetworkUp() && ServerAddress::parse("192.0.2.1", 5070)->localUriHost().empty() &&
               errno == ENETUNREACH && ServerAddress::parse("127.0.0.1", 5070)->localUriHost() == "127.0.0.1";
    });
}
