#pragma once
// Which instructions the engine uses, and the environment variable that limits them.

#include <string>

// The words that ZOR_CPU takes, with ", " between them.
std::string KnownCpus();

// A UsageError where ZOR_CPU is another word: the engine would leave it aside without telling.
void CheckCpuVariable();
