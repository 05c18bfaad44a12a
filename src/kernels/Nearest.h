#pragma once
// Kernels that make a row of pixels picked from another at any places: the nearest-pixel scaler's.

#include "kernels/Convert.h"

namespace zor {

// Pixel i of dst is made of pixel columns[i] of src.
using NearestFn = void (*)(const PixelRun& dst, const PixelRun& src, const std::int32_t* columns, std::ptrdiff_t count);

// A run of bytes each of which is a byte of another run, 0, or stays as it is: worked out once for all rows. It is cut
// into pieces, of which the last one ends where the run ends and may lie over the one before it. A piece is made of
// windows of the other run, which are as long and lie side by side.
struct ByteShuffle {
    static constexpr std::ptrdiff_t kPiece = 16, kMaxWindows = 4;

    std::ptrdiff_t bytes;  // at least a piece
    int windows;
    const std::int32_t* from;   // by piece: where its first window begins
    const std::uint8_t* index;  // by piece, window and byte: the place in the window, or 128 for a byte not from there
    const std::uint8_t* keep;   // by piece and byte: 255 for one that stays, which has no index, otherwise 0
                                // null: none stays
};
constexpr std::ptrdiff_t PiecesOf(std::ptrdiff_t bytes) {
    return (bytes + ByteShuffle::kPiece - 1) / ByteShuffle::kPiece;
}

// For runs that share no byte.
struct NearestKernels {
    NearestFn apart[kConversions][2];  // by conversion, without alpha and with it
    void (*shuffle)(const ByteShuffle& shuffle, const std::uint8_t* src, std::uint8_t* dst);
};

void InitNearest_Plain(NearestKernels* kernels);
void InitNearest_Sse4(NearestKernels* kernels);
void InitNearest_Avx2(NearestKernels* kernels);
void InitNearest_Neon(NearestKernels* kernels);

}  // namespace zor
