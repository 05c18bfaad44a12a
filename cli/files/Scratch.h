#pragma once
// Files that hold what does not fit elsewhere while the program works.

#include <string>

// Where they are made: the directory that was set, else $TMPDIR, else /var/tmp, which lies on a disk where /tmp may lie
// in memory.
std::string ScratchDirectory();
void SetScratchDirectory(const std::string& directory);

// Opens a new, empty file there for reading and writing. It has no name, so that it is gone when the descriptor is
// closed, however the program ends. The caller closes it. A RunError that names the directory when it cannot be made.
int OpenScratch();

// The RunError for a scratch file that cannot be written: it names the directory.
[[noreturn]] void FailScratch(int errorNumber);
