#include "Corpus.h"

extern size_t targetCount;

TEST(DnsAnswerCorpus, EveryInputIsReadWithoutHarm)
{
    replayCorpus(CORPUS_DIRECTORY, 20);
    EXPECT_GE(targetCount, 20U) << "too few inputs name a server";
}
