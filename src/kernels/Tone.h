#pragma once
// Kernels that look at how bright pixels are, and those of ordered dither.

#include "kernels/PixelRun.h"

namespace zor {

// --- luminance ------------------------------------------------------------------------------------------------------

// What each channel adds to the luminance of a pixel. The three are summed from red to blue in double precision, which
// for some pixels falls short of the whole number that it would be.
struct LuminanceParts {
    int thousandths[3];  // of red, green and blue; 0 or more, 1000 together
    double red[256];
    double green[256];
    double blue[256];
    // Where all three are v = 16 h + l: bit h % 8 of [h / 8][l] tells that the sum falls short of v.
    std::uint8_t grayFallsShort[2][16];
};
LuminanceParts MakeLuminanceParts(int red, int green, int blue);  // in thousandths

// Counts in several lanes, to be added up: a counter that is counted up again at once would have to wait for itself.
// They wrap at 32 bits. Lanes are a little longer than they need to be: counters that lie 4096 bytes apart would wait
// for each other too.
struct LevelCounts {
    static constexpr int kLanes = 8;
    std::uint32_t lane[kLanes][256 + 16];
};

// So many limits are counted against at a time: far quicker than all levels, where it is known which ones matter.
constexpr int kLevelLimits = 8;

// --- glow -----------------------------------------------------------------------------------------------------------

// The glow of a sample whose squared differences to its two neighbours add up to that; 0 to 130050.
std::uint8_t NeonGlow_Plain(int squares);
std::uint8_t NeonGlow(int squares);

// --- dither ---------------------------------------------------------------------------------------------------------

// What a dither needs beside its matrix. A byte takes the upper of its two levels where remainder is not above the
// threshold.
struct DitherTables {
    int levels;          // 2 to 256
    int cells;           // of the matrix: its side squared, 256 at most
    int level[256];      // bytes, 255 k / (levels - 1); the first `levels` count
    int quotient[256];   // index of the lower level, i (levels - 1) / 256
    int remainder[256];  // i (cells + 1) / 256
};
DitherTables MakeDitherTables(int levels, int side);

inline std::uint8_t DitherByte(const DitherTables& tables, int threshold, std::uint8_t byte) {
    const int upper = tables.remainder[byte] <= threshold ? 1 : 0;
    return static_cast<std::uint8_t>(tables.level[tables.quotient[byte] + upper]);
}

// The thresholds of a row of bytes, which repeat.
struct DitherRow {
    static constexpr int kMaxPeriod = 16 * 8;
    static constexpr int kMore = 64;  // bytes that go on behind the period, for kernels of many bytes at a time

    int period;  // in bytes
    std::uint8_t threshold[kMaxPeriod + kMore];
};

// --- record ---------------------------------------------------------------------------------------------------------

struct ToneKernels {
    // The luminance of a run of three channels, red, green and blue, rounded down. Whatever lies between the channels
    // of its pixels may be read.
    void (*luminance)(const PixelRun& rgb, std::ptrdiff_t count, const LuminanceParts& parts, std::uint8_t* levels);
    // Adds bytes to the counts of their values.
    void (*count)(const std::uint8_t* bytes, std::ptrdiff_t count, LevelCounts* counts);
    // Adds to each of kLevelLimits counts the number of bytes above its limit.
    void (*countAbove)(const std::uint8_t* bytes, std::ptrdiff_t count, const std::uint8_t* limits,
                       std::uint32_t* counts);
    // The glow of each byte here beside those of its two neighbours. dst shares no byte with them.
    void (*glow)(const std::uint8_t* here, const std::uint8_t* aside, const std::uint8_t* below, std::uint8_t* dst,
                 std::ptrdiff_t count);
    // Each byte by its own threshold, the first one by that at `phase`, which lies within the period. dst may be src.
    void (*dither)(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const DitherTables& tables,
                   const DitherRow& row, int phase);
};

void InitTone_Plain(ToneKernels* kernels);
void InitTone_Sse4(ToneKernels* kernels);
void InitTone_Avx2(ToneKernels* kernels);
void InitTone_Neon(ToneKernels* kernels);

}  // namespace zor
