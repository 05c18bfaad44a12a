#pragma once
// Kernels that pass the channels of pixels through tables of 256 bytes.

#include "kernels/PixelRun.h"

namespace zor {

struct ByteTable {
    std::uint8_t entry[256];
};

// Tables that pixels take in turn.
struct TableCycle {
    const ByteTable* tables;
    int length;  // 1 or more
    int first;   // the one of the first pixel
};

// One byte for every pair of bytes.
struct PairTable {
    std::uint8_t entry[256][256];
};

// By channel count, [0] for one channel. dst shares no byte with src, or each pixel is its own fellow.
struct TablesKernels {
    using Map = void (*)(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, const ByteTable* tables);
    using Cycle = void (*)(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, const TableCycle& cycle);
    using Combine = void (*)(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, const PairTable& table);

    Map map[ChannelSet::kMax];      // channel c becomes the entry of tables[c] at the source's byte
    Cycle cycle[ChannelSet::kMax];  // the same with one table for all channels of a pixel
    // The entry at dst's byte and src's. A byte that is two channels of dst is combined twice.
    Combine combine[ChannelSet::kMax];
};

void InitTables_Plain(TablesKernels* kernels);

}  // namespace zor
