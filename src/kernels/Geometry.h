#pragma once
// Kernels that move pixels to other places.

#include "kernels/PixelRun.h"

namespace zor {

// A rectangle of pixels whose columns become rows.
struct PixelTile {
    std::uint8_t* const* dst;        // pixel 0 of each of as many rows as the source's has columns
    const std::uint8_t* const* src;  // pixel 0 of each row, in the order of the target's columns
    std::ptrdiff_t dstStep;          // bytes from one pixel to the next
    std::ptrdiff_t srcStep;
    int columns;  // of the source
    int rows;
    ChannelSet dstChannels;
    ChannelSet srcChannels;
};

// The part of every byte that a shear gives on to the neighbour.
struct PartTable {
    std::uint8_t part[256];
};

// By channel count, [0] for one channel. What is written shares no byte with what is read. Pixels are stored from the
// start of a run and their channels in the order of the set, which shows where two of them are the same byte.
struct GeometryKernels {
    using Copy = void (*)(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count);
    using Exchange = void (*)(const PixelRun& a, const PixelRun& b, std::ptrdiff_t count);
    using Turn = void (*)(const PixelTile& tile);
    using Shear = void (*)(const std::uint8_t* row, const std::uint8_t* before, std::ptrdiff_t count,
                           const PartTable& parts, std::uint8_t* dst);

    // Runs may go backwards here: their steps may be negative.
    Copy copy[ChannelSet::kMax];
    // Of runs with the same channels, in which no byte stands twice.
    Exchange exchange[ChannelSet::kMax];
    // Pixel j of target row i becomes pixel i of source row j.
    Turn turn[ChannelSet::kMax];
    // Packed samples: each pixel takes the part of the one before, the first that of `before`, and loses its own.
    Shear shear[ChannelSet::kMax];
};

void InitGeometry_Plain(GeometryKernels* kernels);

}  // namespace zor
