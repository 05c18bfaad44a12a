#pragma once
// Bytes of a PNG file deflated by zlib, and what that would bring, beside what DeflateRuns.h does in less time.

#include <cstddef>
#include <cstdint>
#include <vector>

// What deflating leaves, about, without doing it: bytes.
double GuessWithRepetitions(const std::uint8_t* bytes, std::size_t count, bool filtered);
double GuessWithRuns(const std::uint8_t* bytes, std::size_t count);

// Appends a part of a raw stream to `result`, up to the end of a byte, with repetitions as far as `level`, 0 to 9,
// looks for them. `before` is what stands in front of the bytes, at most 32768 of it, which they may repeat. False:
// there is not enough memory.
bool DeflateRepetitions(const std::vector<std::uint8_t>& bytes, const std::vector<std::uint8_t>& before, bool last,
                        int level, std::vector<std::uint8_t>* result) noexcept;
