#include "Corpus.h"

extern size_t acceptedCount;

TEST(ServerAddressCorpus, EveryInputIsReadWithoutHarm)
{
    replayCorpus(CORPUS_DIRECTORY, 30);
    EXPECT_GE(acceptedCount, 20U) << "too few inputs are addresses";
}
