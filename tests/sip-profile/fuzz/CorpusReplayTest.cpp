// The files that fuzzing has found worth keeping, each checked and repaired as an ordinary test.

#include "Corpus.h"

TEST(Corpus, EveryFileIsWholeOnceRepaired)
{
    replayCorpus(CORPUS_DIRECTORY, 100);
}
