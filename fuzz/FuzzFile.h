#pragma once
// The bytes of a run as a file, for readers that take nothing else.

#include <cstddef>
#include <cstdint>
#include <string>

// The path of a file in memory with these bytes. The next call gives it others.
std::string FileOf(const std::uint8_t* bytes, std::size_t size);
