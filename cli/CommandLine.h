#pragma once
// What the words after `zor` ask for.

#include <string>
#include <vector>

#include "Metadata.h"
#include "Storage.h"
#include "codecs/Picture.h"

enum class Command { Process, Each, Info, Compare, Describe, Help, Manual, Version };

struct CommandLine {
    Command command = Command::Process;
    // Process: INPUT OUTPUT EFFECT...; Each: EFFECT...; Info: FILE...; Compare: A B; Help: nothing or a name
    std::vector<std::string> words;
    std::vector<std::string> files;  // Each: the files to work on
    std::string each;                // Each: the pattern that names the results
    int jobs = 0;                    // Each: processes at a time; 0: one for each processor
    WriteOptions write;
    Stripping strip;
    const Codec* format = nullptr;  // of OUTPUT; null: what its suffix names
    StorageOptions storage;
    bool json = false;  // Info
    bool cpu = false;   // Describe
    bool ignoreOrientation = false;
    bool pluginBytes = false;
    bool srgb = false;
    std::string profile;  // file of the profile that the result gets; empty: none
    bool quiet = false;
};

// A UsageError names the word at fault and what was expected.
CommandLine ReadCommandLine(int argc, char** argv);

// The format for a result of this name; PNM for "-" unless another is asked for. A UsageError where there is none, and
// where the options ask for what it cannot do.
const Codec& OutputCodec(const CommandLine& line, const std::string& path);

// An option, for help, the manual page and completion.
struct OptionRow {
    std::string shortName;  // "-q"; empty: none
    std::string longName;   // "--quality"
    std::string value;      // what stands behind it: "N"; empty: nothing does
    std::string help;       // one line
    std::string group;      // heading under which help lists it
};

// Group by group; what is for other programs than people is left out.
std::vector<OptionRow> OptionRows();
