#pragma once
// Kernels that pass bytes through tables.

#include "kernels/PixelRun.h"

namespace zor {

struct ByteTable {
    std::uint8_t entry[256];
};

// One byte for every pair of bytes.
struct PairTable {
    std::uint8_t entry[256][256];
};

struct TablesKernels {
    // dst shares no byte with src, or each pixel is its own fellow.
    using Combine = void (*)(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, const PairTable& table);

    // Tables take turns: dst[i] = tables[i % period].entry[src[i]]; the period is 1 or more. dst may be src itself;
    // otherwise the two do not overlap.
    void (*mapInTurn)(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const ByteTable* tables,
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
