// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Checks and repairs each file of the fuzz corpus.

#include "Corpus.h"

TEST(Corpus, IsWholeOnceRepaired)
{
    replayCorpus(CORPUS_DIRECTORY, 100);
}
