#pragma once
// The commands of the program. Each throws a RunError or UsageError when it cannot be done.

#include <string>
#include <vector>

#include "CommandLine.h"

class Notes;

// Reads INPUT, runs the effects and writes OUTPUT.
void Process(const CommandLine& line, Notes& notes);

// Works through `files` in a few processes side by side, and tells which have failed; whether none has.
bool ProcessEach(const CommandLine& line);

// Prints what each file holds, for people or, as JSON, for programs. A file that cannot be read is told of as an error,
// and the rest goes on; whether all could be read.
bool PrintInfo(const std::vector<std::string>& paths, bool json, Notes& notes);

// Prints how two pictures differ; whether they are equal, in size, kind and every pixel.
bool Compare(const std::string& pathA, const std::string& pathB, bool quiet, Notes& notes);

// Prints the classes that the engine registered.
void PrintDescription();

// Prints which code every loop of the engine uses on this processor.
void PrintCpu();

// Puts text on standard output; a RunError when it cannot be written.
void PrintText(const std::string& text);
