// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Corpus.h"

extern size_t targetCount;
extern size_t serviceCount;

TEST(DnsAnswerCorpus, EveryInputIsReadWithoutHarm)
{
    replayCorpus(CORPUS_DIRECTORY, 20);
    EXPECT_GE(targetCount, 20U) << "too few inputs name a server";
    EXPECT_GE(serviceCount, 3U) << "too few inputs name a service";
}
