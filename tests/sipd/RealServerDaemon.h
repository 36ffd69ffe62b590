#ifndef REALSERVERDAEMON_H
#define REALSERVERDAEMON_H

#include "RealServerProcess.h"
#include "SIP_COMM_Controler.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// The built sipd, over the settings that ORMU_SETTING_DIR names.
class Sipd
{
public:
    // Keeps its log in that directory.
    explicit Sipd(const std::filesystem::path& directory);

    // Returns when it listens. Fails the test when it does not.
    void start(const std::vector<std::string>& options = {});
    // Tells it to end, and waits: its exit status, or -1 when it had to be killed.
    int stop();

    std::string log() const { return program_->log(); }

private:
    const std::filesystem::path directory_;
    std::unique_ptr<LoggedProgram> program_;
};

// One client of the daemon. A member called when the daemon refused the client aborts.
class DaemonClient
{
public:
    DaemonClient();
    ~DaemonClient();
    DaemonClient(const DaemonClient&) = delete;
    DaemonClient& operator=(const DaemonClient&) = delete;

    // Asks to connect or disconnect the profile of that group. Fails the test when that cannot be sent.
    void connect(const std::string& group);
    void disconnect(const std::string& group);
    // What the request was answered with; nothing when that took longer.
    std::optional<uint32_t> ack(std::chrono::milliseconds limit = PATIENCE);

    uint32_t status(const std::string& group);

private:
    _SIP_COMM_PROFILE_CONTROL_S* handle_ = nullptr;
};

// Asks a client of its own, and waits for the answer.
std::optional<uint32_t> connectAndWait(const std::string& group);
std::optional<uint32_t> disconnectAndWait(const std::string& group);
uint32_t statusOf(const std::string& group);

#endif
