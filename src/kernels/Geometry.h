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

// Columns of bytes that a shear moves by distances of their own. Byte x of target row y is made of the value in row
// y + 1 + down[x] and of that before it in row y + down[x].
struct ShearTile {
    const std::uint8_t* rows;  // packed samples; `height` and one more than the highest `down`
    std::ptrdiff_t rowBytes;   // from one to the next
    const std::uint8_t* down;
    const std::uint16_t* factor;
    std::ptrdiff_t width;  // bytes
    int height;            // of the target
    std::uint8_t* dst;
    std::ptrdiff_t dstRowBytes;
};

// By channel count, [0] for one channel. What is written shares no byte with what is read. Pixels are stored from the
// start of a run and their channels in the order of the set, which shows where two of them are the same byte.
struct GeometryKernels {
    using Copy = void (*)(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count);
    using Exchange = void (*)(const PixelRun& a, const PixelRun& b, std::ptrdiff_t count);
    using Turn = void (*)(const PixelTile& tile);
    using ShearRow = void (*)(const std::uint8_t* row, std::ptrdiff_t step, std::ptrdiff_t count, std::uint16_t factor,
                              std::uint8_t* dst);
    using ShearColumns = void (*)(const ShearTile& tile);

    // Runs may go backwards here: their steps may be negative.
    Copy copy[ChannelSet::kMax];
    // Of runs with the same channels, in which no byte stands twice.
    Exchange exchange[ChannelSet::kMax];
    // Pixel j of target row i becomes pixel i of source row j.
    Turn turn[ChannelSet::kMax];
    // A shear: every byte loses the part value * factor >> 16 and takes that of the byte before it. In a row that one
    // lies `step` bytes to the left, where bytes are read from row - step on.
    ShearRow shearRow;
    ShearColumns shearColumns;
};

void InitGeometry_Plain(GeometryKernels* kernels);
void InitGeometry_Sse4(GeometryKernels* kernels);
void InitGeometry_Avx2(GeometryKernels* kernels);
void InitGeometry_Neon(GeometryKernels* kernels);

}  // namespace zor
