#include "ServerAddress.h"
#include "ChildProcess.h"
#include "OwnNetwork.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace {

// In a network of its own, which has nothing but a loopback that is up.
int withoutNetwork(const std::function<bool()>& holds)
{
    return runInChild([&holds] {
        constexpr int NO_NETWORK = 2;
        if (!enterOwnNetwork())
            return NO_NETWORK;
        return holds() ? 0 : 1;
    });
}

} // namespace

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
    const int outcome = withoutNetwork([] {
        return !isAnyNetworkUp() && ServerAddress::parse("192.0.2.1", 5070)->localUriHost().empty() &&
               errno == ENETUNREACH && ServerAddress::parse("127.0.0.1", 5070)->localUriHost() == "127.0.0.1";
    });
    if (outcome == 2)
        GTEST_SKIP() << "a private network is not possible here";
    EXPECT_EQ(outcome, 0);
}
