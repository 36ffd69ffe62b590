// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "VirtualSipTest.h"

#include <filesystem>
#include <sstream>

namespace {

std::string groupOf(int number)
{
    return "Profile" + std::to_string(number);
}

} // namespace

void TestRequest::acknowledge(_SIPD_APP_ACK_E ack)
{
    EXPECT_FALSE(ack_) << "a second ack";
    ack_ = ack;
}

void VirtualSipTest::useDirectory(const std::string& name)
{
    settings_ = directory().toStdString() + '/' + name;
    qputenv("ORMU_SETTING_DIR", QByteArray::fromStdString(settings_));
}

std::string VirtualSipTest::textOf(const std::vector<PlacedProfile>& places)
{
    std::ostringstream text;
    text << "[ProfileSummary]\nTotalProfile=" << places.size() << '\n' << std::boolalpha;
    for (const PlacedProfile& place : places)
        text << '[' << groupOf(place.number) << "]\nDisplayName=" << place.displayName.value_or(place.user)
             << "\nServer=" << place.server << "\nPortNum=" << place.port << "\nUserID=" << place.user
             << "\nPassword=" << place.password << "\nAutoConnect=" << place.autoConnect << '\n';
    return text.str();
}

void VirtualSipTest::place(const std::string& text) const
{
    const std::string other = settingsFile() + ".new";
    writeFile(QString::fromStdString(other), QByteArray::fromStdString(text));
    std::filesystem::rename(other, settingsFile());
}

void VirtualSipTest::placeInside(const std::vector<PlacedProfile>& places) const
{
    writeFile(QString::fromStdString(settingsFile()), QByteArray::fromStdString(textOf(places)));
}

void VirtualSipTest::start()
{
    contacts.emplace(state);
    registrations = std::make_unique<Registrations>(SipServices{loop, clock, network, *contacts});
    registrations->connectAutomatically();
    run();
}

void VirtualSipTest::start(const std::vector<PlacedProfile>& places, const std::vector<int>& connected)
{
    place(places);
    start();
    for (const int number : connected)
        EXPECT_EQ(connectProfile(number), SIPD_ACK_SUCCESS) << number;
}

void VirtualSipTest::run(std::chrono::milliseconds time)
{
    loop.wake();
    loop.step();
    registrations->reap();
    clock.advance(time, [this] { registrations->reap(); });
}

VirtualSipTest::Request VirtualSipTest::connect(int number)
{
    auto request = std::make_unique<TestRequest>(*registrations);
    registrations->connect(groupOf(number), request.get());
    return request;
}

VirtualSipTest::Request VirtualSipTest::disconnect(int number)
{
    auto request = std::make_unique<TestRequest>(*registrations);
    registrations->disconnect(groupOf(number), request.get());
    return request;
}

VirtualSipTest::Request VirtualSipTest::connectUnanswered(int number)
{
    network.setAnswer(std::nullopt);
    return connect(number);
}

VirtualSipTest::Request VirtualSipTest::disconnectUnanswered(int number)
{
    network.setAnswer(std::nullopt);
    return disconnect(number);
}

void VirtualSipTest::answer(_SIPD_APP_ACK_E ack)
{
    network.setAnswer(ack);
    run();
}

std::optional<_SIPD_APP_ACK_E> VirtualSipTest::connectProfile(int number)
{
    const Request request = connect(number);
    run();
    return request->ack();
}

std::optional<_SIPD_APP_ACK_E> VirtualSipTest::disconnectProfile(int number)
{
    const Request request = disconnect(number);
    run();
    return request->ack();
}

int VirtualSipTest::status(int number)
{
    return static_cast<int>(registrations->status(groupOf(number)));
}
