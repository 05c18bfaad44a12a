#pragma once
// Files that stand in a directory without a name, and go with the program however it ends.

#include <string>

// A file for reading and writing that only its owner may use. Below 0 where it cannot be had; errno tells why.
int OpenUnnamed(const std::string& directory);

// True if this number of OpenUnnamed says that the file system has no such files, or the system none at all.
bool LacksUnnamedFiles(int errorNumber);

// True if NameFile can find the file again.
bool CanBeNamed(int descriptor);

// Gives the open file a name that nothing has yet. False where it cannot be given; errno tells why, EEXIST for a name
// that is taken.
bool NameFile(int descriptor, const std::string& path);
