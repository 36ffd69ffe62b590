// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Corpus.h"

extern size_t acceptedCount;
extern size_t uriCount;

TEST(ServerAddressCorpus, EveryInputIsReadWithoutHarm)
{
    replayCorpus(CORPUS_DIRECTORY, 30);
    EXPECT_GE(acceptedCount, 20U) << "too few inputs are addresses";
    EXPECT_GE(uriCount, 5U) << "too few inputs are URIs";
}
