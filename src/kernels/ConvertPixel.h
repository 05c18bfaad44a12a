#pragma once
// One pixel of a conversion, for plain kernels: a channel is stored before the next is read.

#include "kernels/Convert.h"

namespace zor {

template <PixelRule kRule, int kSrc, int kDst, bool kAlpha>
inline void ConvertPixel(const std::uint8_t* src, const std::ptrdiff_t* srcOffset, std::uint8_t* dst,
                         const std::ptrdiff_t* dstOffset, std::uint8_t alphaMask) {
    if constexpr (kRule == PixelRule::copy) {
        for (int c = 0; c < kDst; ++c) dst[dstOffset[c]] = src[srcOffset[c]];
    } else if constexpr (kRule == PixelRule::replicate) {
        const std::uint8_t value = src[srcOffset[0]];
        for (int c = 0; c < kDst; ++c) dst[dstOffset[c]] = value;
    } else if constexpr (kRule == PixelRule::blackOnly) {
        const std::uint8_t value = src[srcOffset[0]];
        for (int c = 0; c < kDst - 1; ++c) dst[dstOffset[c]] = 0;
        dst[dstOffset[kDst - 1]] = value;
    } else {
        dst[dstOffset[0]] =
            static_cast<std::uint8_t>((77 * src[srcOffset[0]] + 151 * src[srcOffset[1]] + 28 * src[srcOffset[2]]) >> 8);
    }
    if constexpr (kAlpha) dst[dstOffset[kDst]] = static_cast<std::uint8_t>(src[srcOffset[kSrc]] ^ alphaMask);
}

}  // namespace zor
