// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Corpus.h"
#include "Scenario.h"

#include <set>
#include <string>

extern std::set<std::string> playedScenarios;

TEST(ScenarioCorpus, PlaysEveryScenarioToItsEnd)
{
    replayCorpus(CORPUS_DIRECTORY, 40);
    for (const ScenarioEntry& entry : allScenarios())
        EXPECT_TRUE(playedScenarios.contains(std::string(entry.name.substr(0, entry.name.find(':')))))
            << "no input plays " << entry.name;
}
