#pragma once
// Bytes deflated by how frequent each is and by runs of one byte, without looking for other repetitions: several times
// as fast as zlib's strategy for the same.

#include <cstdint>
#include <vector>

// Appends a part of a raw stream to `result`, up to the end of a byte. False: there is not enough memory.
bool DeflateRuns(const std::vector<std::uint8_t>& bytes, bool last, std::vector<std::uint8_t>* result) noexcept;
