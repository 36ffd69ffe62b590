// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Corpus.h"

#include <map>
#include <string>

extern std::map<std::string, int> answersByAlgorithm;

TEST(DigestCorpus, EveryChallengeIsAnsweredWithoutHarm)
{
    replayCorpus(CORPUS_DIRECTORY, 20);
    for (const char* algorithm :
         {"", "MD5", "MD5-sess", "SHA-256", "SHA-256-sess", "SHA-512-256", "SHA-512-256-sess"})
        EXPECT_GE(answersByAlgorithm[algorithm], 1)
            << "no input leads to an answer by \"" << algorithm << '"';
}
