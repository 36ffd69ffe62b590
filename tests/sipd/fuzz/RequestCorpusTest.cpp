// The inputs that fuzzing has found worth keeping, each as an ordinary test run.

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern size_t lastRecordSize;

TEST(RequestCorpus, EveryInputIsReceivedWithoutHarm)
{
    int replayed = 0;
    size_t longestRecord = 0;
    for (const auto& file : std::filesystem::directory_iterator(CORPUS_DIRECTORY)) {
        std::ifstream stream(file.path(), std::ios::binary);
        const std::vector<char> bytes(std::istreambuf_iterator<char>(stream), {});
        const std::vector<uint8_t> input(bytes.begin(), bytes.end());
        EXPECT_EQ(LLVMFuzzerTestOneInput(input.data(), input.size()), 0) << file.path();
        longestRecord = std::max(longestRecord, lastRecordSize);
        ++replayed;
    }
    EXPECT_GE(replayed, 30) << "the corpus has shrunk";
    EXPECT_GE(longestRecord, 300U) << "no input has several messages";
}
