// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef VIRTUAL_SIP_TEST_H
#define VIRTUAL_SIP_TEST_H

#include "EventLoop.h"
#include "KeptContacts.h"
#include "Registrations.h"
#include "SettingsFixture.h"
#include "VirtualNetwork.h"

#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// A profile in the settings file, and its number there.
struct PlacedProfile
{
    int number;
    std::string user;
    std::string password = "secret";
    bool autoConnect = false;
    std::optional<std::string> displayName = {}; // the user's name without one
    std::string server = "127.0.0.1";
    unsigned int port = 5060;
};

// A client's request. Deleting it cancels it, as a client does that disconnects.
class TestRequest : public RequestObserver
{
public:
    explicit TestRequest(Registrations& registrations) : registrations_(registrations) {}
    ~TestRequest() override { registrations_.forget(this); }
    TestRequest(const TestRequest&) = delete;
    TestRequest& operator=(const TestRequest&) = delete;

    void acknowledge(_SIPD_APP_ACK_E ack) override;
    // Nothing until there is one.
    std::optional<_SIPD_APP_ACK_E> ack() const { return ack_; }

private:
    Registrations& registrations_;
    std::optional<_SIPD_APP_ACK_E> ack_;
};

// The daemon's registrations over a real settings file, in virtual time and with virtual servers.
class VirtualSipTest : public SettingsTest
{
protected:
    using Request = std::unique_ptr<TestRequest>;

    // Puts the settings file into a directory below the test's own.
    void useDirectory(const std::string& name);
    const std::string& settings() const { return settings_; }
    std::string settingsFile() const { return settings_ + "/ormu_sipsetup.cfg"; }

    static std::string textOf(const std::vector<PlacedProfile>& places);
    // Replaces the settings file, as the store does.
    void place(const std::string& text) const;
    void place(const std::vector<PlacedProfile>& places) const { place(textOf(places)); }
    // Writes the settings file in its place.
    void placeInside(const std::vector<PlacedProfile>& places) const;

    void start();
    // Places these profiles, starts, and connects those of these numbers.
    void start(const std::vector<PlacedProfile>& places, const std::vector<int>& connected = {});
    // Handles changes of the settings file, and lets that time pass.
    void run(std::chrono::milliseconds time = {});

    Request connect(int number);
    Request disconnect(int number);
    // The same, while the servers keep silent until answer().
    Request connectUnanswered(int number);
    Request disconnectUnanswered(int number);
    // Gives this answer to all requests, also to those that wait.
    void answer(_SIPD_APP_ACK_E ack);
    // The ack of a request that ends without a delay.
    std::optional<_SIPD_APP_ACK_E> connectProfile(int number);
    std::optional<_SIPD_APP_ACK_E> disconnectProfile(int number);
    int status(int number);

    VirtualClock clock;
    VirtualNetwork network{clock};
    EventLoop loop;
    const std::string state = directory().toStdString() + "/state/sipd"; // the daemon's state directory
    std::optional<KeptContacts> contacts;                                // from start() on
    std::unique_ptr<Registrations> registrations;

private:
    std::string settings_ = directory().toStdString();
};

#endif
