// Checks and repairs each file of the fuzz corpus.

#include "Corpus.h"

TEST(Corpus, IsWholeOnceRepaired)
{
    replayCorpus(CORPUS_DIRECTORY, 100);
}
