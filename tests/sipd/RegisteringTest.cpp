// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Registrations of the daemon as a process, with a registrar in this one.

#include "OwnNetwork.h"
#include "Sanitizers.h"
#include "SipdProcess.h"
#include "TestRegistrar.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <optional>
#include <system_error>

namespace {

class Registering : public SipdTest
{
protected:
    bool waitForRequest() const
    {
        return waitUntil([this] { return !registrar.requests().empty(); });
    }
    // Waits until only this user is registered.
    bool waitForUser(const std::string& user) const
    {
        return waitUntil([&] {
            const auto contacts = registrar.contacts();
            return contacts.size() == 1 && contacts.begin()->starts_with("<sip:" + user + '@');
        });
    }
    TestProfile profile(const std::string& user = "anna") const
    {
        return {.port = registrar.port(), .user = user, .displayName = user};
    }

    TestRegistrar registrar;
};

} // namespace

TEST_F(Registering, RegistersAndUnregisters)
{
    writeProfile("Profile0", profile());
    startDaemon();
    registrar.hold();
    SipdClient client(PROFILE_CTRL_CONNECT, "Profile0");
    ASSERT_TRUE(waitForRequest());
    EXPECT_EQ(statusOf("Profile0"), 1U);
    registrar.release();
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(client.status("Profile0"), 2U);
    EXPECT_THAT(registrar.contacts(), testing::ElementsAre(testing::StartsWith("<sip:anna@127.0.0.1:")));
    client.close();
    EXPECT_EQ(statusOf("Profile0"), 2U) << "it outlives the client";
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(statusOf("Profile0"), 0U);
    EXPECT_EQ(registrar.contacts().size(), 0U);
}

TEST_F(Registering, TellsThatThereIsNoNetwork)
{
    writeProfile("Profile0", {.server = "192.0.2.1"});
    writeProfile("Profile1", {.server = "2001:db8::1"});
    writeProfile("Profile2", {.server = "sip.example.com"});
    checkInOwnNetwork({}, [this] {
        startDaemon();
        for (const char* group : {"Profile0", "Profile1", "Profile2"})
            EXPECT_EQ(connectProfile(group), SIPD_ACK_SERVICE_UNAVAILABLE) << group;
        stopDaemon();
        return true;
    });
}

TEST_F(Registering, TellsAnUnroutableAddressFromAMissingNetwork)
{
    // The server has an IPv6 address too, but the network has no IPv6.
    const std::string hosts = directory().toStdString() + "/hosts";
    std::ofstream(hosts) << "127.0.0.1 sip.example.com\n2001:db8::1 sip.example.com v6.example.com\n";
    writeProfile("Profile0", {.server = "sip.example.com", .port = 5079});
    writeProfile("Profile1", {.server = "2001:db8::1"});
    writeProfile("Profile2", {.server = "v6.example.com", .port = 5079});
    checkInOwnNetwork({.hasInterface = true, .file = hosts, .place = "/etc/hosts"}, [this] {
        startDaemon({"-v"});
        for (const char* group : {"Profile0", "Profile1", "Profile2"})
            EXPECT_EQ(connectProfile(group), SIPD_ACK_CONNECT_FAILED) << group << '\n' << daemon().log();
        stopDaemon();
        return true;
    });
}

TEST_F(Registering, FollowsTheSettingsFile)
{
    writeProfile("Profile0", profile("anna"));
    writeProfile("Profile1", profile("bert"));
    startDaemon();
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_SUCCESS);
    const size_t count = registrar.requests().size();
    removeProfile("Profile0");
    std::filesystem::rename(file().toStdString(), file().toStdString() + ".away");
    writeProfile("Profile0", profile("bert"));
    EXPECT_TRUE(waitUntil([] { return statusOf("Profile0") == 2U && statusOf("Profile1") == 0U; }));
    EXPECT_EQ(registrar.requests().size(), count) << "it moves without a request";
    TestProfile changed = profile("cleo");
    changed.displayName = "bert";
    writeProfile("Profile0", changed);
    EXPECT_TRUE(waitForUser("cleo"));
    EXPECT_TRUE(waitUntil([] { return statusOf("Profile0") == 2U; }));
    removeProfile("Profile0");
    EXPECT_TRUE(waitUntil([this] { return registrar.contacts().empty(); }));
    EXPECT_EQ(statusOf("Profile0"), 0U);
}

TEST_F(Registering, CancelsTheConnectOfAClientThatLeaves)
{
    writeProfile("Profile0", profile());
    startDaemon();
    registrar.hold();
    {
        const SipdClient client(PROFILE_CTRL_CONNECT, "Profile0");
        ASSERT_TRUE(waitForRequest());
    }
    EXPECT_TRUE(waitUntil([] { return statusOf("Profile0") == 0U; }));
    registrar.release();
    // The server accepts it after all.
    EXPECT_TRUE(waitUntil(
        [this] { return registrar.requests().back().expires == 0 && registrar.contacts().empty(); }));
    EXPECT_EQ(statusOf("Profile0"), 0U);
}

TEST_F(Registering, NeverTouchesTheSettingsFile)
{
    writeProfile("Profile0", profile());
    const FileIdentity before(file());
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    stopDaemon();
    EXPECT_TRUE(FileIdentity(file()) == before);
    EXPECT_EQ(entries(), QStringList({"ormu_sipsetup.cfg", "sipd.log"}));
}

namespace {

// AddressSanitizer is slow, and keeps what was freed for a while.
const int MANY_CYCLES = hasAddressSanitizer() ? 1000 : 10'000;
const long ALLOWED_GROWTH = hasAddressSanitizer() ? 8192 : 1024; // kilobytes
const std::vector<std::string> LEAN_ALLOCATOR =
    hasAddressSanitizer() ? std::vector<std::string>{"/usr/bin/env", "ASAN_OPTIONS=quarantine_size_mb=1"}
                          : std::vector<std::string>{};

// Nothing when the kernel does not say: the process is not dumpable, and this user is not root.
std::optional<std::ptrdiff_t> descriptorsOf(pid_t process)
{
    std::error_code problem;
    const std::filesystem::directory_iterator found("/proc/" + std::to_string(process) + "/fd", problem);
    return problem ? std::nullopt : std::optional(std::distance(begin(found), end(found)));
}

} // namespace

TEST_F(Registering, LeaksNeitherMemoryNorDescriptors)
{
    registrar.setAccount({"anna", "secret"});
    writeProfile("Profile0", profile());
    // Few descriptors: enough for a handful of connections.
    std::vector<std::string> wrapper = {"/bin/sh", "-c", "ulimit -n 64; exec \"$0\" \"$@\""};
    wrapper.insert(wrapper.end(), LEAN_ALLOCATOR.begin(), LEAN_ALLOCATOR.end());
    startDaemon({}, wrapper);
    SipdClient client;
    client.introduce();
    const auto cycle = [&client](int count) {
        int succeeded = 0;
        for (int i = 0; i < count; ++i)
            succeeded += client.request(PROFILE_CTRL_CONNECT, "Profile0") == SIPD_ACK_SUCCESS &&
                                 client.request(PROFILE_CTRL_DISCONNECT, "Profile0") == SIPD_ACK_SUCCESS
                             ? 1
                             : 0;
        return succeeded;
    };
    const pid_t process = client.daemon();
    const auto descriptors = descriptorsOf(process);
    // Some memory is allocated once.
    ASSERT_EQ(cycle(500), 500);
    const long memory = memoryOf(process);
    EXPECT_EQ(cycle(MANY_CYCLES), MANY_CYCLES);
    EXPECT_LT(memoryOf(process) - memory, ALLOWED_GROWTH);
    // The stack opens one more, once.
    if (descriptors) {
        EXPECT_TRUE(waitUntil([&] { return descriptorsOf(process) == *descriptors + 1; }))
            << *descriptorsOf(process) << " after " << *descriptors;
    }
}
