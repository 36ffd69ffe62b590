// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// What the daemon as a process does with contacts that a killed one has left, and with answers that lead
// elsewhere.

#include "SipdProcess.h"
#include "TestRegistrar.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>

namespace {

class RemainingContact : public SipdTest
{
protected:
    // Daemons of one test share the state directory.
    void start() { startDaemon({"-v"}, {"/usr/bin/env", "XDG_STATE_HOME=" + state_.path().toStdString()}); }
    void kill()
    {
        daemon().signal(SIGKILL);
        EXPECT_EQ(daemon().wait(), -SIGKILL);
        stopDaemon();
    }
    bool isFileThere() const
    {
        return std::filesystem::exists(state_.path().toStdString() + "/sipd/contacts");
    }
    TestProfile profile(bool autoConnect) const
    {
        return {.port = registrar.port(), .user = "anna", .autoConnect = autoConnect};
    }
    // The only registered contact, once there is one.
    std::string contact() const
    {
        EXPECT_TRUE(waitUntil([this] { return registrar.contacts().size() == 1; }));
        return registrar.contacts().empty() ? "none" : *registrar.contacts().begin();
    }

    TestRegistrar registrar;

private:
    const QTemporaryDir state_;
};

using Redirected = RemainingContact;

} // namespace

TEST_F(RemainingContact, IsRemovedByTheNextDaemon)
{
    writeProfile("Profile0", profile(true));
    start();
    const std::string former = contact();
    kill();
    EXPECT_TRUE(isFileThere());
    start();
    EXPECT_TRUE(waitUntil([&] { return !registrar.contacts().contains(former); }));
    EXPECT_NE(contact(), former);
    EXPECT_THAT(registrar.requests().back().contact, testing::HasSubstr(former + ";expires=0"));
    stopDaemon();
    EXPECT_TRUE(registrar.contacts().empty());
    EXPECT_FALSE(isFileThere());
}

TEST_F(RemainingContact, IsRemovedWhenItsProfileIsConnectedNext)
{
    registrar.setAccount({"anna", "secret"});
    writeProfile("Profile0", profile(false));
    start();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    const std::string former = contact();
    kill();
    start();
    EXPECT_EQ(statusOf("Profile0"), 0U);
    EXPECT_EQ(contact(), former);
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_NE(contact(), former);
}

TEST_F(RemainingContact, KeepsNoProfileFromItsServer)
{
    writeProfile("Profile0", profile(false));
    start();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    kill();
    registrar.refuse(";expires=0", 400);
    start();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(registrar.requests().size(), 3U);
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_FALSE(isFileThere());
}

TEST_F(Redirected, GoesWhereTheServerSends)
{
    TestRegistrar other;
    other.setAccount({"anna", "secret"});
    writeProfile("Profile0", profile(false));
    start();
    const std::string there = "127.0.0.1:" + std::to_string(other.port());
    registrar.setAnswer(302, "Moved Temporarily",
                        "Contact: <sip:127.0.0.1:1>;q=0.5, \"There\" <sip:anna@" + there + ">;q=0.9\r\n");
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(registrar.requests().size(), 1U);
    EXPECT_EQ(other.requests().back().user, "anna");
    EXPECT_THAT(other.requests().back().text, testing::StartsWith("REGISTER sip:" + there));

    registrar.setAnswer(305, "Use Proxy", "Contact: <sip:" + there + ";lr>\r\n");
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_THAT(other.requests().back().text,
                testing::StartsWith("REGISTER sip:127.0.0.1:" + std::to_string(registrar.port())));
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(other.contacts().empty());
}

TEST_F(Redirected, IsLoggedWithTheServersWordsWhenItGoesNowhere)
{
    writeProfile("Profile0", profile(false));
    start();
    const std::string itself = "127.0.0.1:" + std::to_string(registrar.port());
    registrar.setAnswer(301, "Moved Permanently", "Contact: <sip:" + itself + ">\r\n");
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_FAILED);
    EXPECT_TRUE(logContains("Profile0 is not connected: the server refuses: 301 Moved Permanently\n"));
    registrar.setAnswer(480, "Account is unpaid", "Retry-After: 60\r\n");
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_FAILED);
    EXPECT_TRUE(logContains("Profile0 is not connected: the server refuses: 480 Account is unpaid\n"));
    registrar.setAnswer(403, "Forbidden");
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_INCORRECT_PROFILE);
    EXPECT_TRUE(logContains("Profile0 is not connected: the server rejects it: 403 Forbidden\n"));
    EXPECT_FALSE(logContains("secret"));
}
