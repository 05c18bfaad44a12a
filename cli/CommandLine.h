#pragma once
// What the words after `zor` ask for.

#include <string>
#include <vector>

#include "Storage.h"
#include "codecs/Picture.h"

enum class Command { Process, Info, Compare, Describe, Help, Version };

struct CommandLine {
    Command command = Command::Process;
    std::vector<std::string>
        words;  // Process: INPUT OUTPUT EFFECT...; Info: FILE...; Compare: A B; Help: nothing or EFFECT
    WriteOptions write;
    const Codec* format = nullptr;  // of OUTPUT; null: what its suffix names
    StorageOptions storage;
    bool json = false;  // Info
    bool ignoreOrientation = false;
    bool quiet = false;
};

// A UsageError names the word at fault and what was expected.
CommandLine ReadCommandLine(int argc, char** argv);

// The options with their help, as lines for `zor --help`.
std::string OptionsHelp();
