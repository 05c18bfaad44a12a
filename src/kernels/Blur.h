#pragma once
// Kernels of blurs, on packed samples: sums of many samples that slide by, and weighed sums of three.

#include "kernels/PixelRun.h"

namespace zor {

// --- sums of many ---------------------------------------------------------------------------------------------------

// Sums that stay below 256 times the divisor, as those of any 2 * radius + 1 bytes do, divided by multiplication:
// floor(sum / divisor) is ((sum + more) * factor) >> shift, exactly.
struct NarrowDivision {
    std::uint16_t factor;
    std::uint16_t more;  // 0 or 1
    int shift;           // beyond the 16 of the high half of a product; 1 or more
};
// For sums of 16 bits. With 2^l the largest power of two below the divisor and a factor of 2^(16 + l) / divisor,
// rounded up, the product is too large by less than the sum, which may be too much; rounded down, one sum more makes
// up for what is missing; a power of two has nothing to round. Each quotient is tried at both of its ends. False where
// sums do not fit.
bool MakeNarrowDivision(std::int64_t divisor, NarrowDivision* division);

struct WideDivision {
    std::uint32_t factor;
    int shift;
};
// For any odd divisor from 3 to 2097151. With 2^l the largest power of two below the divisor, the factor is above
// 2^(31 + l) / divisor by less than 1, so the product is above by less than the sum, which is below 2^(9 + l), and
// that never reaches the next quotient's 2^(31 + l) / divisor while l is at most 20.
WideDivision MakeWideDivision(std::int64_t divisor);

// For sums that may leave their range: those of 256 times the divisor and more become 0.
struct TestedDivision {
    std::uint32_t divisor;
    std::uint8_t operator()(std::uint32_t sum) const {
        return sum < 256 * divisor ? static_cast<std::uint8_t>(sum / divisor) : std::uint8_t{0};
    }
};

// A row whose sums slide from its first pixel to its last: each pixel adds enters - leaves for the next one.
struct SlidingRow {
    const std::uint8_t* leaves;
    const std::uint8_t* enters;
    std::ptrdiff_t count;                    // pixels, 1 or more
    std::uint32_t first[ChannelSet::kMax];   // the sums of pixel 0, by channel
    std::uint32_t middle[ChannelSet::kMax];  // those of pixel count / 2, for kernels that begin there, too
};

// Sums wrap at their width, and share no byte with samples; bytes overlap no samples.
template <class Sum, class Division>
struct SumKernels {
    // sums[i] += times * bytes[i]
    void (*add)(Sum* sums, const std::uint8_t* bytes, std::ptrdiff_t count, std::uint32_t times);
    // bytes[i] = sums[i] / by, and then sums[i] += enters[i] - leaves[i]
    void (*down)(Sum* sums, const std::uint8_t* leaves, const std::uint8_t* enters, std::ptrdiff_t count,
                 const Division& by, std::uint8_t* bytes);

    // The sums along a row, divided. By channel count, [0] for one channel.
    using Along = void (*)(const SlidingRow& row, const Division& by, std::uint8_t* bytes);
    Along along[ChannelSet::kMax];
};

// --- sums of three --------------------------------------------------------------------------------------------------

// One byte from a sample and the sum of its two neighbours. It never leaves 0 to 255.
struct ThreeTaps {
    double neighbourWeight;  // the sample itself weighs 1
    double norm;             // of all weights: 1 / their sum
    std::uint8_t operator()(int sample, int neighbours) const {
        return static_cast<std::uint8_t>(static_cast<int>((sample + neighbours * neighbourWeight) * norm));
    }
};

// The same in integers: sample * weight + neighbours * neighbourWeight, divided.
struct TapRule {
    std::uint16_t weight;
    std::uint16_t neighbourWeight;
    NarrowDivision division;  // by weight + 2 * neighbourWeight, which is 3 or more
};
// For a weight that is a fraction of small numbers. Not for every byte the same: rounded sums of doubles can fall short
// of an integer. It is to be tried.
bool MakeTapRule(const ThreeTaps& taps, TapRule* rule);

// The samples whose taps make samples of the result.
struct TapRows {
    const std::uint8_t* row;
    const std::uint8_t* before;  // the two neighbours of row[i] are before[i] and after[i]
    const std::uint8_t* after;
};

// --- sharpening -----------------------------------------------------------------------------------------------------

// A byte a pushed away from a byte b: by floor(d * factor) above b, by its opposite, rounded down, below b, where d is
// their distance. All in integers: a factor for each side, with its whole part and 65536 times the rest.
struct SharpenRule {
    std::uint16_t whole[2];  // above and below; 127 at most
    std::uint16_t part[2];
    std::uint8_t threshold;  // smaller distances stay
    std::uint8_t operator()(int a, int b) const {
        const int distance = a < b ? b - a : a - b, side = a < b;
        const int product = distance * whole[side] + ((distance * part[side]) >> 16);
        const int sharp = side ? b - product - 1 : b + product;
        return static_cast<std::uint8_t>(distance < threshold ? a : sharp < 0 ? 0 : sharp > 255 ? 255 : sharp);
    }
};
// The rule whose two products are floor(d * factor) and ceil(d * factor) - 1 for all distances; what comes next to an
// integer, as 5 * 2.2 does, is that integer. False where there is none: for a factor of 0 and below and beyond 127, and
// where 16 bits for the rest are not enough.
bool MakeSharpenRule(double factor, int threshold, SharpenRule* rule);

struct BlurKernels {
    SumKernels<std::uint16_t, NarrowDivision> narrow;
    SumKernels<std::uint32_t, WideDivision> wide;
    // Where a row of bytes is stored before its samples leave the sums.
    // bytes[i] = sums[i] / by
    void (*divideTested)(const std::uint32_t* sums, std::ptrdiff_t count, const TestedDivision& by,
                         std::uint8_t* bytes);
    // sums[i] += enters[i] - leaves[i]
    void (*slide)(std::uint32_t* sums, const std::uint8_t* leaves, const std::uint8_t* enters, std::ptrdiff_t count);
    // dst overlaps none of the rows.
    void (*taps)(const TapRows& rows, std::ptrdiff_t count, const ThreeTaps& taps, std::uint8_t* dst);
    void (*tapsByRule)(const TapRows& rows, std::ptrdiff_t count, const TapRule& rule, std::uint8_t* dst);
    // dst[i] = rule(dst[i], src[i]). The two share no byte, or are the same bytes.
    void (*sharpen)(const std::uint8_t* src, std::ptrdiff_t count, const SharpenRule& rule, std::uint8_t* dst);
};

void InitBlur_Plain(BlurKernels* kernels);
void InitBlur_Sse4(BlurKernels* kernels);
void InitBlur_Avx2(BlurKernels* kernels);
void InitBlur_Neon(BlurKernels* kernels);

}  // namespace zor
