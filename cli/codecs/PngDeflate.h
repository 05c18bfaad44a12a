#pragma once
// Bytes of a PNG file made smaller: the ways of it, and what each would bring.

#include <cstddef>
#include <cstdint>
#include <vector>

struct DeflateWay {
    int level = 6;      // 0 to 9
    bool runs = false;  // only runs of one byte are looked for, in a part of the time
};

// What deflating leaves, about, without doing it: bytes.
double GuessWithRepetitions(const std::uint8_t* bytes, std::size_t count, bool filtered);
double GuessWithRuns(const std::uint8_t* bytes, std::size_t count);

// Appends a part of a raw stream to `result`, up to the end of a byte. `before` is what stands in front of the bytes,
// at most 32768 of it, which they may repeat. False: there is not enough memory.
bool DeflatePart(const std::vector<std::uint8_t>& bytes, const std::vector<std::uint8_t>& before, bool last,
                 const DeflateWay& way, std::vector<std::uint8_t>* result) noexcept;
