// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Protection from the machine's other users, by ./run and by the programs that hold passwords.
#include "DaemonTest.h"
#include "StrangerAtSocket.h"

#include "ChildProgram.h"
#include "Sanitizers.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using testing::HasSubstr;
using testing::Not;

namespace {

class OtherUsers : public DaemonTest
{
protected:
    OtherUsers()
    {
        char home[] = "/tmp/other-users-XXXXXX";
        EXPECT_NE(mkdtemp(home), nullptr);
        home_ = home;
        setenv("ORMU_SETTING_DIR", (home_ + "/settings").c_str(), 1);
        setenv("XDG_RUNTIME_DIR", home, 1);
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    }
    ~OtherUsers() override
    {
        const std::string remove = "rm -rf '" + home_ + "'";
        EXPECT_EQ(std::system(remove.c_str()), 0);
    }

    // Kills the program once it is ready, by a signal that leaves a core. True when it leaves one.
    bool leavesACore(const std::vector<std::string>& command, const std::function<bool(pid_t)>& isReady)
    {
        const pid_t child = fork();
        if (child == 0) {
            const rlimit unlimited = {RLIM_INFINITY, RLIM_INFINITY};
            setrlimit(RLIMIT_CORE, &unlimited);
            if (chdir(home_.c_str()) != 0)
                _exit(1);
            std::vector<char*> arguments;
            for (const std::string& argument : command)
                arguments.push_back(const_cast<char*>(argument.c_str()));
            arguments.push_back(nullptr);
            execv(arguments[0], arguments.data());
            _exit(1);
        }
        int status = 0;
        while (waitpid(child, &status, WNOHANG) == 0 && !isReady(child))
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        kill(child, SIGSEGV);
        EXPECT_EQ(waitpid(child, &status, 0), child) << command[0] << " ended by itself";
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV) << status;
        return WCOREDUMP(status);
    }

    // The reason why the tests of cores cannot run here, or "".
    std::string whyNoCore()
    {
        if (hasAddressSanitizer())
            return "the programs are open to the sanitizer's leak check";
        return coresAreWritten() ? "" : "this machine writes no cores";
    }

    const std::string& home() const { return home_; }

private:
    bool coresAreWritten()
    {
        return leavesACore({"/bin/sleep", "1000"}, [](pid_t child) {
            std::ifstream command("/proc/" + std::to_string(child) + "/comm");
            std::string name;
            return std::getline(command, name) && name == "sleep";
        });
    }

    std::string home_;
};

TEST_F(OtherUsers, FindNoCoreOfThePhone)
{
    if (const std::string why = whyNoCore(); !why.empty())
        GTEST_SKIP() << why;
    EXPECT_FALSE(leavesACore({PHONE}, [](pid_t child) {
        // Its first screen is open, or its memory is private already.
        std::ifstream maps("/proc/" + std::to_string(child) + "/maps");
        const std::string text{std::istreambuf_iterator<char>(maps), {}};
        return !maps || text.find("libqoffscreen") != std::string::npos;
    }));
}

TEST_F(OtherUsers, FindNoCoreOfSipProfile)
{
    if (const std::string why = whyNoCore(); !why.empty())
        GTEST_SKIP() << why;
    play("silent");
    EXPECT_FALSE(leavesACore({SIP_PROFILE, "status"}, [this](pid_t) { return daemon().accepted() >= 2; }));
}

TEST_F(OtherUsers, KeepRunFromStartingWithTheirSocket)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    setenv("ORMU_RUN_BUILD", BUILD, 1);
    for (const char* use : {"--server", "--sample", "--scenario=friendly", "--screenshot=/nowhere"}) {
        SCOPED_TRACE(use);
        const StrangerAtSocket stranger(StrangerAtSocket::Both);
        ChildProgram program({RUN, use});
        const std::string output = program.readRest();
        EXPECT_EQ(program.wait(), 2);
        EXPECT_THAT(output,
                    HasSubstr("run: The SIP daemon on /tmp/sipd_us belongs to another user: nobody.\n"));
        EXPECT_THAT(output, Not(HasSubstr("the phone talks to that one")));
    }
}

TEST_F(OtherUsers, CannotHoldTheTestsLock)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    const pid_t other = fork();
    if (other == 0) {
        const bool isOther = setgid(StrangerAtSocket::USER) == 0 && setuid(StrangerAtSocket::USER) == 0;
        const std::string lock = SIPD_SOCKET_PATH ".tests-0/lock";
        _exit(isOther && access(lock.c_str(), F_OK) != 0 && errno == EACCES ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(other, &status, 0), other);
    EXPECT_EQ(status, 0);
}

} // namespace
