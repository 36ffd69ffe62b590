// The files that fuzzing has found worth keeping, each checked and repaired as an ordinary test.

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

TEST(Corpus, EveryFileIsWholeOnceRepaired)
{
    int replayed = 0;
    for (const auto& file : std::filesystem::directory_iterator(CORPUS_DIRECTORY)) {
        std::ifstream stream(file.path(), std::ios::binary);
        const std::vector<char> bytes(std::istreambuf_iterator<char>(stream), {});
        const std::vector<uint8_t> input(bytes.begin(), bytes.end());
        SCOPED_TRACE(file.path());
        EXPECT_EQ(LLVMFuzzerTestOneInput(input.data(), input.size()), 0);
        ++replayed;
    }
    EXPECT_GE(replayed, 100) << "the corpus has shrunk";
}
