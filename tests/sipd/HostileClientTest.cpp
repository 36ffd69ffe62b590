// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Clients that break the rules. The daemon serves the next one, and takes no memory for them.

#include "Sanitizers.h"
#include "SipdProcess.h"
#include "TestRegistrar.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace {

class HostileClient : public SipdTest
{
protected:
    void SetUp() override
    {
        SipdTest::SetUp();
        startDaemon();
    }
    void TearDown() override
    {
        EXPECT_EQ(statusOf("Profile0"), 0U);
        SipdTest::TearDown();
    }

    // Of the daemon.
    static long memoryInUse() { return memoryOf(SipdClient().daemon()); }

    static SipdClient admitted()
    {
        SipdClient client;
        EXPECT_EQ(client.introduce(), SIPD_ACK_SUCCESS);
        return client;
    }

    // Asks, and reads nothing, until the daemon stops reading, too. The number of bytes sent.
    static size_t askWithoutReading(const SipdClient& client)
    {
        const std::string question = SipdClient::profileMessage(PROFILE_CTRL_GET_STATUS, "Profile0");
        size_t sent = 0;
        for (size_t before = 1; sent != before;) {
            before = sent;
            for (size_t count = 1; count > 0; sent += count)
                count = client.sendSome(question.substr(sent % question.size()));
            // By the time of this answer the daemon would have read more.
            if (statusOf("Profile0") != 0) {
                ADD_FAILURE() << "another client is kept waiting";
                break;
            }
        }
        return sent;
    }
};

// AddressSanitizer's allocator keeps what was freed for a while.
const long someKilobytes = hasAddressSanitizer() ? 65536 : 2048;

} // namespace

TEST_F(HostileClient, MayCloseBehindEachByte)
{
    const std::string session = SipdClient::registerMessage() +
                                SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile0") +
                                SipdClient::profileMessage(PROFILE_CTRL_GET_STATUS, "Profile0");
    for (size_t length = 0; length <= session.size(); ++length) {
        const SipdClient client;
        ASSERT_TRUE(client.send(session.substr(0, length))) << length;
    }
}

TEST_F(HostileClient, IsClosedForAWrongLengthAndGetsNoMemory)
{
    const long before = memoryInUse();
    for (const uint32_t type : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 0xffffffffU}) {
        for (const uint32_t length : {5U, 1U << 20U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
            SipdClient client = admitted();
            client.send(encodeHead(length, type, 100));
            EXPECT_TRUE(client.isClosedByDaemon()) << type << ' ' << length;
        }
    }
    EXPECT_LT(memoryInUse() - before, someKilobytes);
}

TEST_F(HostileClient, IsToldThatAnUnknownRequestFails)
{
    SipdClient client = admitted();
    for (const uint32_t code : {2U, 6U, 100U, 0xffffffffU}) {
        client.send(SipdClient::profileMessage(code, "Profile0"));
        EXPECT_EQ(client.ack(), SIPD_ACK_FAILED) << code;
    }
    EXPECT_EQ(client.status("Profile0"), 0U);
}

TEST_F(HostileClient, GetsNowhereWithAnEndlessName)
{
    SipdClient client = admitted();
    const std::string name = "Profile0" + std::string(120, '0');
    EXPECT_EQ(client.request(PROFILE_CTRL_CONNECT, name), SIPD_ACK_INCORRECT_PROFILE);
    EXPECT_EQ(client.request(PROFILE_CTRL_DISCONNECT, name), SIPD_ACK_SUCCESS);
    EXPECT_EQ(client.status(name), 0U);
    for (const char* other : {"", "Profile", "Profile00", "Profile-1", "profile0", "InputSettings",
                              "../Profile0", "Profile0\n", "Profile 0", "Profile4294967296"})
        EXPECT_EQ(client.request(PROFILE_CTRL_CONNECT, other), SIPD_ACK_INCORRECT_PROFILE) << other;
}

TEST_F(HostileClient, IsClosedForARequestBeforeItsIntroduction)
{
    SipdClient client;
    client.send(SipdClient::profileMessage(PROFILE_CTRL_GET_STATUS, "Profile0"));
    EXPECT_TRUE(client.isClosedByDaemon());
    SipdClient commander;
    commander.send(encodeMessage({SIPD_MSG_COMMAND, 100, std::string(266, '\0')}));
    EXPECT_TRUE(commander.isClosedByDaemon());
}

TEST_F(HostileClient, IsClosedForASecondIntroduction)
{
    SipdClient client = admitted();
    client.send(SipdClient::registerMessage());
    EXPECT_TRUE(client.isClosedByDaemon());
}

TEST_F(HostileClient, IsClosedForARequestBeforeTheLastAck)
{
    TestRegistrar registrar;
    registrar.setAnswer(0);
    writeProfile("Profile0", {.port = registrar.port()});
    for (const auto second : {PROFILE_CTRL_CONNECT, PROFILE_CTRL_DISCONNECT, PROFILE_CTRL_SET_NAME}) {
        SipdClient client = admitted();
        client.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile0"));
        EXPECT_EQ(client.status("Profile0"), 1U) << "a question is answered all the same";
        client.send(SipdClient::profileMessage(second, "Profile0"));
        EXPECT_TRUE(client.isClosedByDaemon());
        EXPECT_EQ(statusOf("Profile0"), 0U);
    }
}

TEST_F(HostileClient, DelaysNobodyByNotReading)
{
    const long before = memoryInUse();
    SipdClient client = admitted();
    const size_t sent = askWithoutReading(client);
    EXPECT_EQ(statusOf("Profile0"), 0U);
    EXPECT_LT(memoryInUse() - before, someKilobytes);
    // It is served again, in order, when it reads.
    for (size_t answered = 0; answered < sent / 152; ++answered)
        ASSERT_EQ(client.receive()->type, SIPD_MSG_PROFILE) << answered;
}

TEST_F(HostileClient, IsRefusedWhenThereAreTooMany)
{
    std::vector<SipdClient> clients;
    for (int i = 0; i < 200; ++i)
        clients.push_back(admitted());
    SipdClient oneMore;
    EXPECT_EQ(oneMore.introduce(), SIPD_ACK_FAILED);
    EXPECT_TRUE(oneMore.isClosedByDaemon());
    EXPECT_EQ(clients.front().status("Profile0"), 0U);
    clients.pop_back();
    EXPECT_TRUE(waitUntil([] { return SipdClient().introduce() == SIPD_ACK_SUCCESS; }));
}

TEST_F(HostileClient, KeepsNobodyOutByAThousandConnections)
{
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::max<rlim_t>(limit.rlim_cur, std::min<rlim_t>(limit.rlim_max, 4096));
    setrlimit(RLIMIT_NOFILE, &limit);
    const long before = memoryInUse();
    std::vector<SipdClient> silent(1000);
    for (const SipdClient& client : silent)
        ASSERT_TRUE(client.isConnected());
    // All of them are still connected, and say nothing.
    EXPECT_EQ(admitted().status("Profile0"), 0U);
    EXPECT_LT(memoryInUse() - before, someKilobytes);
}

TEST_F(HostileClient, KeepsNobodyOutWhenDescriptorsRunOut)
{
    if (hasAddressSanitizer())
        GTEST_SKIP() << "the sanitizers need descriptors of their own for some of their checks";
    const pid_t process = SipdClient().daemon();
    const rlimit few = {32, 32};
    ASSERT_EQ(prlimit(process, RLIMIT_NOFILE, &few, nullptr), 0);
    {
        std::vector<SipdClient> silent(100);
        for (SipdClient& client : silent)
            ASSERT_TRUE(client.isConnected());
        EXPECT_TRUE(silent.back().isClosedByDaemon()) << "it is turned away, not left waiting";
    }
    EXPECT_TRUE(waitUntil([] { return SipdClient().introduce() == SIPD_ACK_SUCCESS; }));
}

TEST_F(HostileClient, StallsNobodyByHalfRequestsAndUnreadAnswers)
{
    const std::string session =
        SipdClient::registerMessage() + SipdClient::profileMessage(PROFILE_CTRL_GET_STATUS, "Profile0");
    std::vector<SipdClient> attackers(256);
    for (size_t i = 0; i < attackers.size(); ++i) {
        ASSERT_TRUE(attackers[i].isConnected());
        if (i % 16 == 0) {
            ASSERT_EQ(attackers[i].introduce(), SIPD_ACK_SUCCESS);
            askWithoutReading(attackers[i]);
        } else if (i % 2 == 0) {
            attackers[i].send(session.substr(0, 1 + i % (session.size() - 1)));
        }
        ASSERT_FALSE(HasFailure()) << i;
    }
    std::chrono::steady_clock::duration longest{};
    for (int i = 0; i < 100; ++i) {
        const auto start = std::chrono::steady_clock::now();
        ASSERT_EQ(admitted().status("Profile0"), 0U) << i;
        longest = std::max(longest, std::chrono::steady_clock::now() - start);
    }
    std::printf("the longest of 100 answers took %ld microseconds\n",
                static_cast<long>(std::chrono::duration_cast<std::chrono::microseconds>(longest).count()));
    // The clients that do not read are still connected.
    for (size_t i = 0; i < attackers.size(); i += 16)
        ASSERT_EQ(attackers[i].receive()->type, SIPD_MSG_PROFILE) << i;
}
