#include "RealServerDaemon.h"

#include <gtest/gtest.h>

#include <csignal>
#include <poll.h>

Sipd::Sipd(const std::filesystem::path& directory) : directory_(directory) {}

void Sipd::start(const std::vector<std::string>& options)
{
    std::vector<std::string> command = {SIPD_PROGRAM};
    command.insert(command.end(), options.begin(), options.end());
    program_ = std::make_unique<LoggedProgram>(command, directory_ / "sipd.log");
    ASSERT_TRUE(waitUntil(
        [this] { return !program_->isRunning() || program_->log().find("listening") != std::string::npos; }));
    ASSERT_TRUE(program_->isRunning()) << program_->log();
}

int Sipd::stop()
{
    program_->signal(SIGTERM);
    waitUntil([this] { return !program_->isRunning(); });
    return program_->exitStatus();
}

DaemonClient::DaemonClient()
{
    EXPECT_EQ(SIP_COMM_ControlerConstruct(&handle_), 0);
}

DaemonClient::~DaemonClient()
{
    SIP_COMM_ControlerDestruct(&handle_);
}

void DaemonClient::connect(const std::string& group)
{
    EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle_, group.c_str()), 0);
}

void DaemonClient::disconnect(const std::string& group)
{
    EXPECT_EQ(SIP_COMM_ControlerProfileDisconnect(handle_, group.c_str()), 0);
}

std::optional<uint32_t> DaemonClient::ack(std::chrono::milliseconds limit)
{
    pollfd polled = {SIP_COMM_ControlerGetFd(handle_), POLLIN, 0};
    _SIPD_APP_ACK_E ack = SIPD_ACK_FAILED;
    if (poll(&polled, 1, static_cast<int>(limit.count())) != 1 ||
        SIP_COMM_ControlerGetAck(handle_, &ack) != 0)
        return std::nullopt;
    return ack;
}

uint32_t DaemonClient::status(const std::string& group)
{
    _SIPD_PROFILE_STATUS_E status = {};
    EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle_, group.c_str(), &status), 0);
    return status;
}

std::optional<uint32_t> connectAndWait(const std::string& group)
{
    DaemonClient client;
    client.connect(group);
    return client.ack();
}

std::optional<uint32_t> disconnectAndWait(const std::string& group)
{
    DaemonClient client;
    client.disconnect(group);
    return client.ack();
}

uint32_t statusOf(const std::string& group)
{
    return DaemonClient().status(group);
}
