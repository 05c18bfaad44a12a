#pragma once
// The commands, for reading the command line, for help, for the manual page and for completion in the shell.

#include <cstddef>
#include <string>
#include <vector>

#include "CommandLine.h"

struct CommandRow {
    const char* word;  // that calls it; null: no word does, its words or an option tell
    Command command;
    std::size_t least, most;  // words behind it
    const char* missing;      // what is not there when they are too few
    const char* takes;
    const char* usage;    // as one types it
    const char* summary;  // one line
    const char* details;  // paragraph for `zor help WORD`
};

const std::vector<CommandRow>& Commands();

// By the word that calls it; null: there is none.
const CommandRow* FindCommand(const std::string& word);
