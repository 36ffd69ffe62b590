// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SIPD_PROCESS_H
#define SIPD_PROCESS_H

#include "ChildProgram.h"
#include "DaemonSocketClaim.h"
#include "SettingsFixture.h"
#include "SipdClient.h"

#include <QTemporaryDir>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// The settings of a profile. A test gives it its server's port.
struct TestProfile
{
    std::string server = "127.0.0.1";
    unsigned int port = 5060;
    std::string user = "anna";
    std::string password = "secret";
    bool autoConnect = false;
    std::string displayName = "Home";
};

// A running daemon of the built program, with its log, and with a state directory of its own that ends with
// this object. The environment variable SIPD_UNDER may name a program to run it by, Memcheck for one.
class SipdProcess
{
public:
    // wrapper: a command to run it by. Fails the test unless the daemon gets ready.
    SipdProcess(const std::string& logFile, std::vector<std::string> options,
                std::vector<std::string> wrapper = {});
    // Ends it by SIGTERM if it is still there; fails the test unless it ends well.
    ~SipdProcess();

    void signal(int number) const { program_.signal(number); }
    // Its exit status, or minus the signal that killed it.
    int wait() { return program_.wait(); }
    std::string log() const;

private:
    const std::string logFile_;
    const QTemporaryDir state_;
    ChildProgram program_;
};

// A test of the daemon as a process, with settings of its own.
class SipdTest : public SettingsTest
{
protected:
    void SetUp() override;
    void TearDown() override; // stops the daemon

    void startDaemon(const std::vector<std::string>& options = {},
                     const std::vector<std::string>& wrapper = {});
    // Fails the test unless it ends well.
    void stopDaemon();
    // Starts it as a service manager does, with this listening socket.
    void startWithSocket(int fd);
    SipdProcess& daemon() const { return *daemon_; }
    bool logContains(const std::string& text) const;
    std::string logFile() const { return directory().toStdString() + "/sipd.log"; }

    static void writeProfile(const std::string& group, const TestProfile& profile);
    static void removeProfile(const std::string& group);

    static uint32_t connectProfile(const std::string& group);
    static uint32_t disconnectProfile(const std::string& group);
    static uint32_t statusOf(const std::string& group);

    // Binds a socket to the path, and listens. The caller closes it.
    static int bindSocket(const std::string& path = SIPD_SOCKET_PATH, bool isListening = true);
    // Whether the daemon's socket file exists.
    static bool socketExists();
    // Whether a daemon answers at the socket file.
    static bool isServed();

private:
    DaemonSocketClaim claim_;
    std::unique_ptr<SipdProcess> daemon_;
};

// Runs the command to its end: its output and its exit status.
std::pair<std::string, int> outcomeOf(const std::vector<std::string>& command);

// A command before another that has it run as the user "nobody"; none when this is not root, or when nobody
// may not execute the daemon in this checkout.
std::optional<std::vector<std::string>> asNobody();

// The memory that a process has, in kilobytes.
long memoryOf(pid_t process);

// Waits until the condition holds. False after minutes: something hangs.
bool waitUntil(const std::function<bool()>& condition,
               std::chrono::milliseconds timeout = std::chrono::minutes(5));

#endif
