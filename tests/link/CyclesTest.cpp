// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "LinkTest.h"

#include <filesystem>
#include <iterator>

namespace {

std::ptrdiff_t openDescriptors()
{
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
}

struct Cycle
{
    const char* name;
    const char* scenario;
    int result; // of SIP_COMM_ControlerConstruct()
    int count;
};

class Cycles : public DaemonTest, public testing::WithParamInterface<Cycle>
{
};

} // namespace

// Memcheck also finds leaked memory here.
TEST_P(Cycles, LeakNoDescriptor)
{
    const auto& [name, scenario, result, count] = GetParam();
    play(scenario);
    testing::internal::CaptureStderr();
    const std::ptrdiff_t before = openDescriptors();
    int asExpected = 0;
    for (int i = 0; i < count; ++i) {
        _SIP_COMM_PROFILE_CONTROL_S* handle = nullptr;
        asExpected +=
            SIP_COMM_ControlerConstruct(&handle) == result && SIP_COMM_ControlerDestruct(&handle) == 0;
    }
    EXPECT_TRUE(daemon().waitForClosed(count));
    const std::ptrdiff_t after = openDescriptors();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(asExpected, count);
    EXPECT_EQ(after, before);
}

INSTANTIATE_TEST_SUITE_P(Of, Cycles,
                         testing::Values(Cycle{"TenThousandAdmissions", "admit", 0, 10000},
                                         Cycle{"Admission", "admit", 0, 200},
                                         Cycle{"Refusal", "refuse", 1, 200},
                                         Cycle{"BrokenAnswer", "close-after:5", 1, 200},
                                         Cycle{"UnexpectedAnswer", "registration-type:3", 1, 200}),
                         [](const auto& cycle) { return std::string(cycle.param.name); });
