#include <bit>
#include <cmath>

#include "kernels/Blur.h"

namespace zor {

namespace {

std::uint8_t Divided(std::uint16_t sum, const NarrowDivision& by) {
    const std::uint16_t dividend = static_cast<std::uint16_t>(sum + by.more);
    return static_cast<std::uint8_t>(((static_cast<std::uint32_t>(dividend) * by.factor) >> 16) >> by.shift);
}
std::uint8_t Divided(std::uint32_t sum, const WideDivision& by) {
    return static_cast<std::uint8_t>((sum * std::uint64_t{by.factor}) >> by.shift);
}
std::uint8_t Divided(std::uint32_t sum, const TestedDivision& by) {
    return by(sum);
}

template <class Sum>
void Add_Plain(Sum* __restrict sums, const std::uint8_t* __restrict bytes, std::ptrdiff_t count, std::uint32_t times) {
    for (std::ptrdiff_t i = 0; i < count; ++i) sums[i] = static_cast<Sum>(sums[i] + times * bytes[i]);
}

template <class Sum>
Sum Slid(Sum sum, std::uint8_t leaves, std::uint8_t enters) {
    return static_cast<Sum>(sum + static_cast<std::uint32_t>(enters) - static_cast<std::uint32_t>(leaves));
}

void Slide_Plain(std::uint32_t* __restrict sums, const std::uint8_t* __restrict leaves,
                 const std::uint8_t* __restrict enters, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) sums[i] = Slid(sums[i], leaves[i], enters[i]);
}

template <class Sum, class Division>
void Divide_Plain(const Sum* __restrict sums, std::ptrdiff_t count, const Division& by,
                  std::uint8_t* __restrict bytes) {
    const Division local = by;
    for (std::ptrdiff_t i = 0; i < count; ++i) bytes[i] = Divided(sums[i], local);
}

template <class Sum, class Division>
void Down_Plain(Sum* __restrict sums, const std::uint8_t* __restrict leaves, const std::uint8_t* __restrict enters,
                std::ptrdiff_t count, const Division& by, std::uint8_t* __restrict bytes) {
    const Division local = by;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        bytes[i] = Divided(sums[i], local);
        sums[i] = Slid(sums[i], leaves[i], enters[i]);
    }
}

template <class Sum, class Division, int kCount>
void Along_Plain(const SlidingRow& row, const Division& by, std::uint8_t* __restrict bytes) {
    const Division local = by;
    const std::uint8_t *leaves = row.leaves, *enters = row.enters;
    Sum sum[kCount];
    for (int c = 0; c < kCount; ++c) sum[c] = static_cast<Sum>(row.first[c]);
    for (std::ptrdiff_t i = 0; i < row.count; ++i, bytes += kCount, leaves += kCount, enters += kCount) {
        for (int c = 0; c < kCount; ++c) {
            bytes[c] = Divided(sum[c], local);
            if (i + 1 < row.count) sum[c] = Slid(sum[c], leaves[c], enters[c]);
        }
    }
}

template <class Sum, class Division>
constexpr SumKernels<Sum, Division> kSums = {
    Add_Plain<Sum>,
    Down_Plain<Sum, Division>,
    {Along_Plain<Sum, Division, 1>, Along_Plain<Sum, Division, 2>, Along_Plain<Sum, Division, 3>,
     Along_Plain<Sum, Division, 4>, Along_Plain<Sum, Division, 5>}};

void Taps_Plain(const TapRows& rows, std::ptrdiff_t count, const ThreeTaps& given, std::uint8_t* dst) {
    const ThreeTaps taps = given;
    const auto [row, before, after] = rows;
    for (std::ptrdiff_t i = 0; i < count; ++i) dst[i] = taps(row[i], before[i] + after[i]);
}

void TapsByRule_Plain(const TapRows& rows, std::ptrdiff_t count, const TapRule& given, std::uint8_t* dst) {
    const TapRule rule = given;
    const auto [row, before, after] = rows;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const int sum = row[i] * rule.weight + (before[i] + after[i]) * rule.neighbourWeight;
        dst[i] = Divided(static_cast<std::uint16_t>(sum), rule.division);
    }
}

void Sharpen_Plain(const std::uint8_t* src, std::ptrdiff_t count, const SharpenRule& rule, std::uint8_t* dst) {
    const SharpenRule local = rule;
    for (std::ptrdiff_t i = 0; i < count; ++i) dst[i] = local(dst[i], src[i]);
}

// The least factor by which floor(d * factor / 65536) is products(d) for every distance d.
template <class Products>
bool FindPart(Products products, std::uint16_t* part) {
    std::int64_t least = 0, beyond = 65536;
    for (std::int64_t d = 1; d <= 255; ++d) {
        const std::int64_t product = products(d);
        least = std::max(least, (product * 65536 + d - 1) / d);
        beyond = std::min(beyond, ((product + 1) * 65536 + d - 1) / d);
    }
    *part = static_cast<std::uint16_t>(least);
    return least >= 0 && least < beyond;
}

}  // namespace

bool MakeTapRule(const ThreeTaps& taps, TapRule* rule) {
    constexpr double kRounding = 1e-9;
    constexpr int kMostWeights = 257;  // 255 times as much is a word
    for (int weight = 1; weight <= kMostWeights; ++weight) {
        const double exact = taps.neighbourWeight * weight, neighbours = std::round(exact);
        if (std::abs(exact - neighbours) > kRounding) continue;
        const int sum = weight + 2 * static_cast<int>(neighbours);
        if (sum < 3 || sum > kMostWeights) return false;
        rule->weight = static_cast<std::uint16_t>(weight);
        rule->neighbourWeight = static_cast<std::uint16_t>(neighbours);
        return MakeNarrowDivision(sum, &rule->division);
    }
    return false;
}

bool MakeSharpenRule(double factor, int threshold, SharpenRule* rule) {
    if (!(factor > 0.0 && factor <= 127.0)) return false;
    constexpr double kRounding = 1e-9;
    const std::int64_t above = static_cast<std::int64_t>(std::floor(factor));
    const std::int64_t below = static_cast<std::int64_t>(std::ceil(factor)) - 1;
    const auto aboveB = [=](std::int64_t d) {
        return static_cast<std::int64_t>(std::floor(static_cast<double>(d) * factor + kRounding)) - d * above;
    };
    const auto belowB = [=](std::int64_t d) {
        return static_cast<std::int64_t>(std::ceil(static_cast<double>(d) * factor - kRounding)) - 1 - d * below;
    };
    *rule = {{static_cast<std::uint16_t>(above), static_cast<std::uint16_t>(below)},
             {},
             static_cast<std::uint8_t>(std::clamp(threshold, 0, 255))};
    return threshold <= 255 && FindPart(aboveB, &rule->part[0]) && FindPart(belowB, &rule->part[1]);
}

static bool IsExact(std::int64_t divisor, const NarrowDivision& division) {
    constexpr std::int64_t kLargestSum = 65535;
    for (std::int64_t quotient = 0; quotient < 256; ++quotient) {
        const std::int64_t least = quotient * divisor, most = std::min(least + divisor - 1, kLargestSum);
        if (Divided(static_cast<std::uint16_t>(least), division) != quotient) return false;
        if (Divided(static_cast<std::uint16_t>(most), division) != quotient) return false;
    }
    return true;
}

bool MakeNarrowDivision(std::int64_t divisor, NarrowDivision* division) {
    constexpr std::int64_t kLargestSum = 65535;
    if (divisor < 3 || 255 * divisor > kLargestSum) return false;
    const int log = static_cast<int>(std::bit_width(static_cast<std::uint64_t>(divisor - 1))) - 1;
    const std::uint16_t factor = static_cast<std::uint16_t>((std::int64_t{1} << (16 + log)) / divisor);
    for (const NarrowDivision& tried : {NarrowDivision{static_cast<std::uint16_t>(factor + 1), 0, log},
                                        NarrowDivision{factor, 1, log}, NarrowDivision{factor, 0, log}}) {
        *division = tried;
        if (IsExact(divisor, tried)) return true;
    }
    return false;
}

WideDivision MakeWideDivision(std::int64_t divisor) {
    const int log = static_cast<int>(std::bit_width(static_cast<std::uint64_t>(divisor))) - 1;
    const int shift = 31 + log;
    return {static_cast<std::uint32_t>((std::int64_t{1} << shift) / divisor + 1), shift};
}

void InitBlur_Plain(BlurKernels* kernels) {
    *kernels = {kSums<std::uint16_t, NarrowDivision>,
                kSums<std::uint32_t, WideDivision>,
                Divide_Plain<std::uint32_t, TestedDivision>,
                Slide_Plain,
                Taps_Plain,
                TapsByRule_Plain,
                Sharpen_Plain};
}

}  // namespace zor
