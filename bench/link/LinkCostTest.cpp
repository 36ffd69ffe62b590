// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The cost of the link in counts that are the same in every run.

#include "ChildProgram.h"
#include "DaemonTest.h"
#include "SIP_COMM_Controler.h"
#include "SystemCalls.h"
#include "allocations.h"
#include "cycles.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <unistd.h>

namespace {

constexpr int countedCycles = 100;

// Instructions of one cycle in user space; 0 when they could not be counted.
long instructionsOf(const char* which)
{
    const std::string results = testing::TempDir() + "cycles." + std::to_string(getpid());
    std::string command =
        std::string(VALGRIND) +
        " --tool=callgrind --collect-atstart=no --toggle-collect=measured --callgrind-out-file=" + results +
        " " COUNT_CYCLES " " + which + " " + std::to_string(countedCycles);
    // The same addresses in each run, where the machine allows that.
    command = "exec $(setarch -R true 2>/dev/null && echo setarch -R) " + command + " 2>/dev/null";
    setenv("LD_BIND_NOW", "1", 1);
    ChildProgram valgrind({"/bin/sh", "-c", command});
    valgrind.readRest();
    const int status = valgrind.wait();
    long total = 0;
    std::ifstream file(results);
    for (std::string line; std::getline(file, line);)
        std::sscanf(line.c_str(), "summary: %ld", &total);
    unlink(results.c_str());
    return status == 0 ? total / countedCycles : 0;
}

std::vector<std::string> systemCallsOf(int (*cycle)(const char*, uint32_t*))
{
    const SystemCalls calls;
    uint32_t status = 99;
    testing::internal::CaptureStderr();
    EXPECT_EQ(cycle("Profile0", &status), 0);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(status, 0U);
    return calls.made;
}

class LinkCost : public DaemonTest
{
};

} // namespace

TEST_F(LinkCost, IsTheSocketCallsOfABareClient)
{
    play("admit");
    const auto bare = systemCallsOf(bareCycle);
    const auto library = systemCallsOf(libraryCycle);
    EXPECT_EQ(library, bare);
    EXPECT_EQ(bare.size(), 11U);
    std::printf("socket calls: bare %zu, library %zu:", bare.size(), library.size());
    for (const std::string& call : library)
        std::printf(" [%s]", call.c_str());
    std::printf("\n");
}

TEST_F(LinkCost, IsAtMostHalfMoreInstructionsThanABareClients)
{
    play("admit");
    const long bare = instructionsOf("bare");
    const long library = instructionsOf("library");
    ASSERT_GT(bare, 0);
    ASSERT_GT(library, 0);
    const double ratio = static_cast<double>(library) / static_cast<double>(bare);
    EXPECT_LE(ratio, 1.5);
    std::printf("instructions: bare %ld, library %ld, ratio %.3f (at most 1.5)\n", bare, library, ratio);
}

TEST_F(LinkCost, IsNoHeapAllocationAfterConstruct)
{
    play("admit");
    _SIP_COMM_PROFILE_CONTROL_S* handle = nullptr;
    _SIPD_APP_ACK_E ack;
    _SIPD_PROFILE_STATUS_E status;
    char name[SIPD_PROFILE_NAME_MAX + 1];
    const long before = allocationsOfThisThread();
    ASSERT_EQ(SIP_COMM_ControlerConstruct(&handle), 0);
    const long constructed = allocationsOfThisThread();
    int result = SIP_COMM_ControlerProfileConnect(handle, "Profile0");
    result |= SIP_COMM_ControlerGetAck(handle, &ack);
    result |= SIP_COMM_ControlerProfileDisconnect(handle, "Profile0");
    result |= SIP_COMM_ControlerGetAck(handle, &ack);
    result |= SIP_COMM_ControlerSetProfileName(handle, SIPD_APPID_SETUP, "Profile0");
    result |= SIP_COMM_ControlerGetAck(handle, &ack);
    result |= SIP_COMM_ControlerGetProfileStatus(handle, "Profile0", &status);
    result |= SIP_COMM_ControlerGetProfileName(handle, SIPD_APPID_SETUP, name, sizeof(name));
    const long used = allocationsOfThisThread();
    SIP_COMM_ControlerDestruct(&handle);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(constructed - before, 2) << "the handle and its channel";
    EXPECT_EQ(used - constructed, 0);
    std::printf("heap allocations: construct %ld, six requests and queries %ld\n", constructed - before,
                used - constructed);
}
