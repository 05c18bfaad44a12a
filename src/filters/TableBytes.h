#pragma once
// The hot loop of the table filters: a run of bytes through one table of 256. Every twin gives the same bytes.

#include <cstddef>
#include <cstdint>

// dst may be src itself; otherwise the two do not overlap.
using MapBytesFn = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count,
                            const std::uint8_t* table);

void MapBytes_Plain(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const std::uint8_t* table);
// Only on processors that have these instructions.
void MapBytes_Avx2(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const std::uint8_t* table);

// The one that runs fastest on this processor.
MapBytesFn PickedMapBytes();
