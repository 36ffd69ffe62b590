// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SipdProcess.h"

#include "ChildProcess.h"
#include "Programs.h"
#include "SETUP_SET_Manager.h"
#include "SETUP_SIP_Agent.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace {

// Its log goes to a file, where it neither fills a pipe nor is lost. The shell is replaced by the daemon.
std::vector<std::string> commandOf(const std::string& logFile, const std::string& state,
                                   const std::vector<std::string>& options,
                                   const std::vector<std::string>& wrapper)
{
    std::vector<std::string> command = {"/bin/sh",
                                        "-c",
                                        "log=$1; shift; exec \"$@\" 2>>\"$log\"",
                                        "sh",
                                        logFile,
                                        "/usr/bin/env",
                                        "XDG_STATE_HOME=" + state};
    command.insert(command.end(), wrapper.begin(), wrapper.end());
    if (const char* under = std::getenv("SIPD_UNDER"))
        command.emplace_back(under);
    command.emplace_back(SIPD);
    command.insert(command.end(), options.begin(), options.end());
    return command;
}

QString settingsPath()
{
    QString path;
    SETUP_SIP_Agent::getSIPSetupPath(path);
    return path;
}

} // namespace

SipdProcess::SipdProcess(const std::string& logFile, std::vector<std::string> options,
                         std::vector<std::string> wrapper)
    : logFile_(logFile), program_(commandOf(logFile, state_.path().toStdString(), options, wrapper))
{
    EXPECT_EQ(program_.readLine(), "listening on " SIPD_SOCKET_PATH) << log();
}

SipdProcess::~SipdProcess()
{
    if (!program_.isRunning())
        return;
    signal(SIGTERM);
    EXPECT_EQ(wait(), 0) << log();
}

std::string SipdProcess::log() const
{
    std::ifstream stream(logFile_, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void SipdTest::SetUp()
{
    ASSERT_EQ(claim_.problem(), "") << "this test needs the daemon's socket for itself";
}

void SipdTest::TearDown()
{
    stopDaemon();
}

void SipdTest::startDaemon(const std::vector<std::string>& options, const std::vector<std::string>& wrapper)
{
    daemon_ = std::make_unique<SipdProcess>(logFile(), options, wrapper);
}

void SipdTest::stopDaemon()
{
    daemon_.reset();
}

void SipdTest::startWithSocket(int fd)
{
    startDaemon({},
                {"/bin/sh", "-c", "LISTEN_PID=$$ LISTEN_FDS=1 exec \"$0\" \"$@\" 3<&" + std::to_string(fd)});
}

bool SipdTest::logContains(const std::string& text) const
{
    return daemon_->log().find(text) != std::string::npos;
}

void SipdTest::writeProfile(const std::string& group, const TestProfile& profile)
{
    SETUP_SET_Manager manager(settingsPath(), false);
    const QString name = QString::fromStdString(group);
    manager.setSettingInfo(name, "DisplayName", QString::fromStdString(profile.displayName), false);
    manager.setSettingInfo(name, "Server", QString::fromStdString(profile.server), false);
    manager.setSettingInfo(name, "PortNum", profile.port);
    manager.setSettingInfo(name, "UserID", QString::fromStdString(profile.user), false);
    manager.setSettingInfo(name, "Password", QString::fromStdString(profile.password), false);
    manager.setSettingInfo(name, "AutoConnect", profile.autoConnect);
}

void SipdTest::removeProfile(const std::string& group)
{
    SETUP_SET_Manager(settingsPath(), false).clearGroup(QString::fromStdString(group));
}

uint32_t SipdTest::connectProfile(const std::string& group)
{
    SipdClient client;
    client.introduce();
    return client.request(PROFILE_CTRL_CONNECT, group);
}

uint32_t SipdTest::disconnectProfile(const std::string& group)
{
    SipdClient client;
    client.introduce();
    return client.request(PROFILE_CTRL_DISCONNECT, group);
}

uint32_t SipdTest::statusOf(const std::string& group)
{
    SipdClient client;
    client.introduce();
    return client.status(group);
}

int SipdTest::bindSocket(const std::string& path, bool isListening)
{
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_TRUE(!isListening || listen(fd, 5) == 0);
    return fd;
}

bool SipdTest::socketExists()
{
    return access(SIPD_SOCKET_PATH, F_OK) == 0;
}

bool SipdTest::isServed()
{
    SipdClient client;
    return client.isConnected() && client.introduce() == SIPD_ACK_SUCCESS;
}

std::pair<std::string, int> outcomeOf(const std::vector<std::string>& command)
{
    ChildProgram program(command);
    std::string output = program.readRest();
    return {output, program.wait()};
}

std::optional<std::vector<std::string>> asNobody()
{
    constexpr uid_t nobody = 65534;
    const auto tryIt = [] { return setuid(nobody) == 0 && access(SIPD, X_OK) == 0 ? 0 : 1; };
    if (geteuid() != 0 || runInChild(tryIt) != 0)
        return std::nullopt;
    return std::vector<std::string>{"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
}

long memoryOf(pid_t process)
{
    std::ifstream statm("/proc/" + std::to_string(process) + "/statm");
    long total = 0;
    long resident = 0;
    statm >> total >> resident;
    EXPECT_GT(resident, 0) << "no such process";
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout)
{
    const auto end = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}
