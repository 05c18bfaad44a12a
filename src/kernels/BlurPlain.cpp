#include <bit>

#include "kernels/Blur.h"

namespace zor {

namespace {

std::uint8_t Divided(std::uint16_t sum, const NarrowDivision& by) {
    return static_cast<std::uint8_t>(((static_cast<std::uint32_t>(sum) * by.factor) >> 16) >> by.shift);
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
void Slide_Plain(Sum* __restrict sums, const std::uint8_t* __restrict leaves, const std::uint8_t* __restrict enters,
                 std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t change = static_cast<std::uint32_t>(enters[i]) - static_cast<std::uint32_t>(leaves[i]);
        sums[i] = static_cast<Sum>(sums[i] + change);
    }
}

template <class Sum, class Division>
void Divide_Plain(const Sum* __restrict sums, std::ptrdiff_t count, const Division& by,
                  std::uint8_t* __restrict bytes) {
    const Division local = by;
    for (std::ptrdiff_t i = 0; i < count; ++i) bytes[i] = Divided(sums[i], local);
}

template <class Sum, int kCount>
void Run_Plain(Sum* __restrict sums, const std::uint8_t* __restrict leaves, const std::uint8_t* __restrict enters,
               std::ptrdiff_t count, const std::uint32_t* first) {
    std::uint32_t sum[kCount];
    std::copy_n(first, kCount, sum);
    for (std::ptrdiff_t i = 0; i < count; ++i, sums += kCount, leaves += kCount, enters += kCount) {
        for (int c = 0; c < kCount; ++c) {
            sums[c] = static_cast<Sum>(sum[c]);
            sum[c] += static_cast<std::uint32_t>(enters[c]) - static_cast<std::uint32_t>(leaves[c]);
        }
    }
}

template <class Sum, class Division>
constexpr SumKernels<Sum, Division> kSums = {
    Add_Plain<Sum>,
    Slide_Plain<Sum>,
    Divide_Plain<Sum, Division>,
    {Run_Plain<Sum, 1>, Run_Plain<Sum, 2>, Run_Plain<Sum, 3>, Run_Plain<Sum, 4>, Run_Plain<Sum, 5>}};

void Taps_Plain(const TapRows& rows, std::ptrdiff_t count, const ThreeTaps& given, std::uint8_t* dst) {
    const ThreeTaps taps = given;
    const auto [row, before, after] = rows;
    for (std::ptrdiff_t i = 0; i < count; ++i) dst[i] = taps(row[i], before[i] + after[i]);
}

void TapsByTable_Plain(const TapRows& rows, std::ptrdiff_t count, const std::uint8_t* entries, std::uint8_t* dst) {
    const auto [row, before, after] = rows;
    for (std::ptrdiff_t i = 0; i < count; ++i) dst[i] = entries[row[i] * kNeighbourSums + before[i] + after[i]];
}

}  // namespace

bool MakeNarrowDivision(std::int64_t divisor, NarrowDivision* division) {
    constexpr std::int64_t kLargestSum = 65535;
    if (divisor < 2 || 255 * divisor > kLargestSum) return false;
    const int log = static_cast<int>(std::bit_width(static_cast<std::uint64_t>(divisor))) - 1;
    const std::int64_t factor = (std::int64_t{1} << (16 + log)) / divisor + 1;
    if (factor > kLargestSum) return false;
    *division = {static_cast<std::uint16_t>(factor), log};
    for (std::int64_t quotient = 0; quotient < 256; ++quotient) {
        const std::int64_t least = quotient * divisor, most = least + divisor - 1;
        if (Divided(static_cast<std::uint16_t>(least), *division) != quotient) return false;
        if (most <= kLargestSum && Divided(static_cast<std::uint16_t>(most), *division) != quotient) return false;
    }
    return true;
}

WideDivision MakeWideDivision(std::int64_t divisor) {
    const int log = static_cast<int>(std::bit_width(static_cast<std::uint64_t>(divisor))) - 1;
    const int shift = 31 + log;
    return {static_cast<std::uint32_t>((std::int64_t{1} << shift) / divisor + 1), shift};
}

void InitBlur_Plain(BlurKernels* kernels) {
    *kernels = {kSums<std::uint16_t, NarrowDivision>, kSums<std::uint32_t, WideDivision>,
                Divide_Plain<std::uint32_t, TestedDivision>, Taps_Plain, TapsByTable_Plain};
}

}  // namespace zor
