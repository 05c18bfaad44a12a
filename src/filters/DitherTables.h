#pragma once
// The matrices of the dither filter, and what it makes of a byte.

#include <cstdint>

namespace zor {

// The threshold of pixel (x, y) stands at (y mod side) * side + (x mod side). No values and a side of 0 for a number
// that is no matrix.
void SetMatrixValues(int matrix, const int*& values, int& side);

// What a dither needs beside its matrix. A byte takes the upper of its two levels where remainder is not above the
// threshold.
struct DitherTables {
    int level[256];      // bytes; the first `levels` count
    int quotient[256];   // index of the lower level
    int remainder[256];  // 0 to side * side
};

// levels 2 to 256.
DitherTables MakeDitherTables(int levels, int side);

inline std::uint8_t DitherByte(const DitherTables& tables, int threshold, std::uint8_t byte) {
    const int upper = tables.remainder[byte] <= threshold ? 1 : 0;
    return static_cast<std::uint8_t>(tables.level[tables.quotient[byte] + upper]);
}

}  // namespace zor
