#pragma once
// The commands of the program. Each throws a RunError or UsageError when it cannot be done.

#include "CommandLine.h"

class Notes;

// Reads INPUT, runs the effects and writes OUTPUT.
void Process(const CommandLine& line, Notes& notes);

// Prints what a file holds.
void PrintInfo(const std::string& path, Notes& notes);

// Prints how two pictures differ; whether they are equal, in size, kind and every pixel.
bool Compare(const std::string& pathA, const std::string& pathB, bool quiet, Notes& notes);

// Prints the classes that the engine registered.
void PrintDescription();

// Puts text on standard output; a RunError when it cannot be written.
void PrintText(const std::string& text);
