// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The inputs that fuzzing has found worth keeping, each as an ordinary test run.

#include "Corpus.h"

extern size_t longestRecord;

TEST(RequestCorpus, EveryInputIsReceivedWithoutHarm)
{
    replayCorpus(CORPUS_DIRECTORY, 30);
    EXPECT_GE(longestRecord, 300U) << "no input has several messages";
}
