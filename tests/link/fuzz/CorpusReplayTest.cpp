// The inputs that fuzzing has found worth keeping, each as an ordinary test run.

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

TEST(Corpus, EveryInputIsReceivedWithoutHarm)
{
    int replayed = 0;
    testing::internal::CaptureStderr();
    for (const auto& file : std::filesystem::directory_iterator(CORPUS_DIRECTORY)) {
        std::ifstream stream(file.path(), std::ios::binary);
        const std::vector<char> bytes(std::istreambuf_iterator<char>(stream), {});
        const std::vector<uint8_t> input(bytes.begin(), bytes.end());
        EXPECT_EQ(LLVMFuzzerTestOneInput(input.data(), input.size()), 0) << file.path();
        ++replayed;
    }
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_GE(replayed, 200) << "the corpus has shrunk";
    EXPECT_NE(log.find(" read ack command"), std::string::npos) << "no input gets as far as an ack";
}
