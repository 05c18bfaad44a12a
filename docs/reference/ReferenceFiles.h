#pragma once
// The reference, from the plug-in and the folder of texts.

#include <filesystem>
#include <string>

// Throws std::runtime_error, naming the file, for one that cannot be read; and as MakeReference does.
std::string ReadWholeFile(const std::filesystem::path& path);
std::string ReferenceFromFiles(const std::filesystem::path& plugin, const std::filesystem::path& texts);
