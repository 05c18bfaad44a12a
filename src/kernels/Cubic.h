#pragma once
// Samples of a picture between its pixels, along a line of any direction, by cubic weights of the 16 pixels around.

#include <cstddef>
#include <cstdint>

namespace zor {

// Weights of four pixels in a row for each place between the second and the third, in 1 / kPhases pixel: those of
// Catmull and Rom, which pass through the pixels and give straight ramps back.
struct CubicWeights {
    static constexpr int kPhaseBits = 11, kPhases = 1 << kPhaseBits;
    static constexpr int kBits = 14;  // the four add up to 1 << kBits

    std::int16_t weight[kPhases][4];
};
CubicWeights MakeCubicWeights();

// Places count in 1 << kPlaceBits to a pixel, and are those of the upper left of the 16 pixels: 0 or more all along.
struct CubicLine {
    static constexpr int kPlaceBits = 20;
    static constexpr int kMore =
        16;  // bytes from the upper left pixel on, and in the three rows below it, that are read

    const std::uint8_t* src;  // pixel 0 of row 0, pixels side by side
    std::ptrdiff_t rowBytes;
    std::int32_t x, y;    // of the first sample
    std::int32_t dx, dy;  // from one to the next
    const CubicWeights* weights;
};

// Sums are taken along rows first, two pixels at a time and each to 1 / 64 of a level, then down; the whole is rounded,
// and cut to 0 to 255. Flat stays flat.
struct CubicKernels {
    // Samples side by side, of 1 to 4 channels. They share no byte with the picture.
    void (*line[4])(const CubicLine& line, std::uint8_t* dst, std::ptrdiff_t count);
};

void InitCubic_Plain(CubicKernels* kernels);
void InitCubic_Sse4(CubicKernels* kernels);
void InitCubic_Avx2(CubicKernels* kernels);
void InitCubic_Neon(CubicKernels* kernels);

}  // namespace zor
