#include "filters/BoxBlurSums.h"

#include <bit>

static std::uint8_t Divided(std::uint16_t sum, const NarrowDivision& by) {
    return static_cast<std::uint8_t>(((static_cast<std::uint32_t>(sum) * by.factor) >> 16) >> by.shift);
}

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

void DivideSums(const std::uint16_t* sums, std::ptrdiff_t count, const NarrowDivision& by, std::uint8_t* bytes) {
    const NarrowDivision local = by;
    for (std::ptrdiff_t i = 0; i < count; ++i) bytes[i] = Divided(sums[i], local);
}

void DivideSums(const std::uint32_t* sums, std::ptrdiff_t count, const WideDivision& by, std::uint8_t* bytes) {
    const std::uint64_t factor = by.factor;
    const int shift = by.shift;
    for (std::ptrdiff_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>((sums[i] * factor) >> shift);
}

void SlideSums(std::uint16_t* sums, const std::uint8_t* leaves, const std::uint8_t* enters, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) sums[i] = static_cast<std::uint16_t>(sums[i] + enters[i] - leaves[i]);
}

void SlideSums(std::uint32_t* sums, const std::uint8_t* leaves, const std::uint8_t* enters, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        sums[i] += static_cast<std::uint32_t>(enters[i]) - static_cast<std::uint32_t>(leaves[i]);
    }
}
