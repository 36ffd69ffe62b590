// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef CORPUS_H
#define CORPUS_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// Runs the fuzz target that the test is linked with on every file of a directory. Fewer files than atLeast
// fail the test.
inline void replayCorpus(const std::filesystem::path& directory, int atLeast)
{
    int replayed = 0;
    for (const auto& file : std::filesystem::directory_iterator(directory)) {
        std::ifstream stream(file.path(), std::ios::binary);
        const std::vector<char> bytes(std::istreambuf_iterator<char>(stream), {});
        const std::vector<uint8_t> input(bytes.begin(), bytes.end());
        SCOPED_TRACE(file.path());
        EXPECT_EQ(LLVMFuzzerTestOneInput(input.data(), input.size()), 0);
        ++replayed;
    }
    EXPECT_GE(replayed, atLeast) << "the corpus has shrunk";
}

#endif
