#include "LinkTest.h"

#include <filesystem>
#include <iterator>

namespace {

std::ptrdiff_t openDescriptors()
{
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
}

} // namespace

class Cycles : public DaemonTest
{
};

// Memcheck also finds leaked memory here.
TEST_F(Cycles, LeakNoDescriptor)
{
    play("admit");
    testing::internal::CaptureStderr();
    const std::ptrdiff_t before = openDescriptors();
    int succeeded = 0;
    for (int i = 0; i < 10000; ++i) {
        _SIP_COMM_PROFILE_CONTROL_S* handle = nullptr;
        succeeded +=
            SIP_COMM_ControlerConstruct(&handle) == 0 && SIP_COMM_ControlerDestruct(&handle) == 0 ? 1 : 0;
    }
    EXPECT_TRUE(daemon().waitForClosed(10000));
    const std::ptrdiff_t after = openDescriptors();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(succeeded, 10000);
    EXPECT_EQ(after, before);
}

TEST_F(Cycles, LeakNoDescriptorWhenTheyFail)
{
    for (const char* scenario : {"refuse", "close-after:5", "registration-type:3"}) {
        play(scenario);
        testing::internal::CaptureStderr();
        const std::ptrdiff_t before = openDescriptors();
        for (int i = 0; i < 200; ++i) {
            _SIP_COMM_PROFILE_CONTROL_S* handle = nullptr;
            EXPECT_EQ(SIP_COMM_ControlerConstruct(&handle), 1);
        }
        EXPECT_TRUE(daemon().waitForClosed(200));
        const std::ptrdiff_t after = openDescriptors();
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(after, before) << scenario;
    }
}
