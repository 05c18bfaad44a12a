#pragma once
// One pixel of a conversion, for plain kernels: a channel is stored before the next is read.

#include "kernels/Convert.h"

template <PixelRule kRule, int kSrc, int kDst, bool kAlpha>
inline void ConvertPixel(const std::uint8_t* src, const std::ptrdiff_t* from, std::uint8_t* dst,
                         const std::ptrdiff_t* to, std::uint8_t alphaMask) {
    if constexpr (kRule == PixelRule::copy) {
        for (int c = 0; c < kDst; ++c) dst[to[c]] = src[from[c]];
    } else if constexpr (kRule == PixelRule::replicate) {
        const std::uint8_t value = src[from[0]];
        for (int c = 0; c < kDst; ++c) dst[to[c]] = value;
    } else if constexpr (kRule == PixelRule::blackOnly) {
        const std::uint8_t value = src[from[0]];
        for (int c = 0; c < kDst - 1; ++c) dst[to[c]] = 0;
        dst[to[kDst - 1]] = value;
    } else {
        dst[to[0]] = static_cast<std::uint8_t>((77 * src[from[0]] + 151 * src[from[1]] + 28 * src[from[2]]) >> 8);
    }
    if constexpr (kAlpha) dst[to[kDst]] = static_cast<std::uint8_t>(src[from[kSrc]] ^ alphaMask);
}
