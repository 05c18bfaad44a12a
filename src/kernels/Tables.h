#pragma once
// Kernels that pass bytes through tables.

#include "kernels/PixelRun.h"

namespace zor {

struct ByteTable {
    std::uint8_t entry[256];
};

// A table and, where its entries run smoothly, a shorter way to them. Rows are of 16 entries. The entry of byte 16 h +
// l is, modulo 256,
//
//     base[h] + (slope[h] l >> 4) + bit h % 8 of bits[h / 8][l]
//
// that is, a line for every row and whether it misses by one; two rows that no line fits have what is missing told
// entry by entry. So it is exact wherever it is said to exist. Curves of gamma, contrast and the like have it.
struct ByteCurve {
    static constexpr int kRows = 16, kRough = 2;

    ByteTable table;
    bool smooth;  // the rest is there
    std::int8_t slope[kRows];
    std::uint8_t base[kRows];
    std::uint8_t bits[2][16];
    int rough;                      // rows without a line, 0 to 2; their slopes are 0
    std::uint8_t start[kRough];     // the first byte of such a row
    std::uint8_t more[kRough][16];  // what its entries are above the base; 0 for a row that there is not
};
ByteCurve CurveOf(const ByteTable& table);

// One byte for every pair of bytes.
struct PairTable {
    std::uint8_t entry[256][256];
};

struct TablesKernels {
    // dst shares no byte with src, or each pixel is its own fellow.
    using Combine = void (*)(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, const PairTable& table);

    // Tables take turns: dst[i] = curves[i % period].table.entry[src[i]]; the period is 1 or more. dst may be src
    // itself; otherwise the two do not overlap.
    void (*mapInTurn)(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const ByteCurve* curves,
                      int period);
    // The entry at dst's byte and src's, by channel count, [0] for one channel. A byte that is two channels of dst is
    // combined twice.
    Combine combine[ChannelSet::kMax];
};

void InitTables_Plain(TablesKernels* kernels);
void InitTables_Sse4(TablesKernels* kernels);
void InitTables_Avx2(TablesKernels* kernels);
void InitTables_Neon(TablesKernels* kernels);

}  // namespace zor
