// The inputs that fuzzing has found worth keeping, each as an ordinary test run.

#include "Corpus.h"

TEST(Corpus, EveryInputIsReceivedWithoutHarm)
{
    testing::internal::CaptureStderr();
    replayCorpus(CORPUS_DIRECTORY, 200);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find(" read ack command"), std::string::npos) << "no input gets as far as an ack";
}
