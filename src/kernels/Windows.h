#pragma once
// Kernels of means rounded to nearest, over windows of samples that slide down and along, and what is made of them.
//
// Sums down the columns slide from row to row. Sums of those along the row, from its first pixel on, make the sum of a
// window a difference of two. All of them wrap at 32 bits, so that only the sums of windows have to fit.
//
// Where colours count as much as their alpha, samples are words: colour * alpha, and alpha * 255.

#include "kernels/Blur.h"

namespace zor {

// The mean of a window, rounded: (sum + half) / divisor. Exact for bytes and an odd divisor of up to kExact, as
// WideDivision tells. Beyond that, and for words, a mean is off only where it lies within 2^-14 of the middle between
// two of them.
struct WindowMean {
    static constexpr std::int64_t kExact = 2097151;
    std::uint32_t half;
    WideDivision by;
};
WindowMean MakeWindowMean(std::int64_t divisor);

// A byte a pushed away from the mean of its window: a + (a - mean) * scale, rounded and cut to 0 to 255.
struct WindowSharpening {
    std::int32_t divisor;  // what sums of the window are divided by to be its mean, up to WindowMean::kExact
    std::int32_t least;    // distances that are smaller, times the divisor, stay; up to 256 times the divisor
    float scale;           // for distances times the divisor
};

// The same with colours weighed by alpha.
struct WeighedSharpening {
    double least;  // distance
    double scale;
};

// From `first`, where they do not count yet, to `last`, sums along a row: a window each.
struct WindowSums {
    const std::uint32_t* first;
    const std::uint32_t* last;
};

// Half a level of 256, and what four cut products lack on average. Flat rows stay flat, as they lack 2 at most.
constexpr std::uint16_t kSoftHalf = 128 + 2;

// Weights of three samples: those of the sample and of its two neighbours together, 65536 for all.
struct SoftWeights {
    std::uint16_t middle;
    std::uint16_t beside;
};

// Of nine samples, 65536 for all.
struct NineWeights {
    std::uint32_t middle;
    std::uint32_t side;    // each of four
    std::uint32_t corner;  // each of four
};

// What is written overlaps nothing that is read.
struct WindowKernels {
    // Pixels with alpha, which comes last, as words. [0] two channels, [1] four.
    void (*weigh[2])(const std::uint8_t* pixels, std::ptrdiff_t count, std::uint16_t* words);

    // sums[i] += enters[i] - leaves[i], and along[i] is sums[i] and all those of the same channel to its left. By
    // channel count, [0] for one.
    using SlideBytes = void (*)(std::uint32_t* sums, const std::uint8_t* leaves, const std::uint8_t* enters,
                                std::ptrdiff_t pixels, std::uint32_t* along);
    using SlideWords = void (*)(std::uint32_t* sums, const std::uint16_t* leaves, const std::uint16_t* enters,
                                std::ptrdiff_t pixels, std::uint32_t* along);
    SlideBytes slideBytes[4];
    SlideWords slideWords[4];

    // The means as bytes and as words, which they fit.
    void (*toBytes)(const WindowSums& sums, std::ptrdiff_t count, const WindowMean& mean, std::uint8_t* bytes);
    void (*toWords)(const WindowSums& sums, std::ptrdiff_t count, const WindowMean& mean, std::uint16_t* words);

    // Sums of weighed pixels, which are below 2^31, as pixels: alpha is its sum times alphaScale; colours of clear
    // pixels are 0. [0] two channels, [1] four.
    void (*unweigh[2])(const WindowSums& sums, std::ptrdiff_t pixels, double alphaScale, std::uint8_t* bytes);

    // `middle` are the bytes themselves.
    void (*sharpen)(const WindowSums& sums, const std::uint8_t* middle, std::ptrdiff_t count,
                    const WindowSharpening& sharpening, std::uint8_t* bytes);
    // Alpha stays, and so do clear pixels and those with nothing around them. [0] two channels, [1] four.
    void (*sharpenWeighed[2])(const WindowSums& sums, const std::uint8_t* middle, std::ptrdiff_t pixels,
                              const WeighedSharpening& sharpening, std::uint8_t* bytes);

    // Means of three bytes as words, 256 for a level, and of three such words as rounded bytes, those of the pixel and
    // of its neighbours. Products are cut off, each to 1 / 256 of a level.
    void (*softDown)(const TapRows& rows, std::ptrdiff_t count, const SoftWeights& weights, std::uint16_t* words);
    void (*softAlong)(const std::uint16_t* row, std::ptrdiff_t pixel, std::ptrdiff_t count, const SoftWeights& weights,
                      std::uint8_t* bytes);
    // Sums of nine words, halved: of row 1, of those above and below it, and of a pixel on each side of them.
    void (*softWords)(const std::uint16_t* const* rows, std::ptrdiff_t pixel, std::ptrdiff_t count,
                      const NineWeights& weights, std::uint32_t* sums);
};

void InitWindows_Plain(WindowKernels* kernels);
void InitWindows_Sse4(WindowKernels* kernels);
void InitWindows_Avx2(WindowKernels* kernels);
void InitWindows_Neon(WindowKernels* kernels);

}  // namespace zor
