// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Runs the inputs that fuzzing has collected.

#include "Corpus.h"

TEST(Corpus, IsReceivedWithoutHarm)
{
    testing::internal::CaptureStderr();
    replayCorpus(CORPUS_DIRECTORY, 200);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find(" read ack command"), std::string::npos) << "no input gets as far as an ack";
}
