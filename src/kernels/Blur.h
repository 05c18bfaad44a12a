#pragma once
// Kernels of blurs, on packed samples: sums of many samples that slide by, and weighed sums of three.

#include "kernels/PixelRun.h"

namespace zor {

// --- sums of many ---------------------------------------------------------------------------------------------------

// Sums that stay below 256 times the divisor, as those of any 2 * radius + 1 bytes do, divided by multiplication:
// floor(sum / divisor) is (sum * factor) >> shift, exactly.
struct NarrowDivision {
    std::uint16_t factor;
    int shift;  // beyond the 16 of the high half of a product
};
// For sums of 16 bits. False where no factor of that size is exact; each quotient is tried at both of its ends.
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

// Sums wrap at their width, and share no byte with samples.
template <class Sum, class Division>
struct SumKernels {
    // sums[i] += times * bytes[i]
    void (*add)(Sum* sums, const std::uint8_t* bytes, std::ptrdiff_t count, std::uint32_t times);
    // sums[i] += enters[i] - leaves[i]
    void (*slide)(Sum* sums, const std::uint8_t* leaves, const std::uint8_t* enters, std::ptrdiff_t count);
    // bytes[i] = sums[i] / by
    void (*divide)(const Sum* sums, std::ptrdiff_t count, const Division& by, std::uint8_t* bytes);

    // The sums along a row, of `count` pixels: those in `sum` at first, to which each pixel adds enters - leaves. By
    // channel count, [0] for one channel.
    using Run = void (*)(Sum* sums, const std::uint8_t* leaves, const std::uint8_t* enters, std::ptrdiff_t count,
                         const std::uint32_t* sum);
    Run run[ChannelSet::kMax];
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

// All that the taps can give, by sample and then by the neighbours' sum.
constexpr int kNeighbourSums = 511;
constexpr int kTapEntries = 256 * kNeighbourSums;

// The samples whose taps make samples of the result.
struct TapRows {
    const std::uint8_t* row;
    const std::uint8_t* before;  // the two neighbours of row[i] are before[i] and after[i]
    const std::uint8_t* after;
};

struct BlurKernels {
    SumKernels<std::uint16_t, NarrowDivision> narrow;
    SumKernels<std::uint32_t, WideDivision> wide;
    void (*divideTested)(const std::uint32_t* sums, std::ptrdiff_t count, const TestedDivision& by,
                         std::uint8_t* bytes);
    // dst overlaps none of the rows.
    void (*taps)(const TapRows& rows, std::ptrdiff_t count, const ThreeTaps& taps, std::uint8_t* dst);
    void (*tapsByTable)(const TapRows& rows, std::ptrdiff_t count, const std::uint8_t* entries, std::uint8_t* dst);
};

void InitBlur_Plain(BlurKernels* kernels);

}  // namespace zor
