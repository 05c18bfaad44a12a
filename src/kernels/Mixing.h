#pragma once
// The arithmetic that all of Combine is made of, on single samples and pixels.

#include <cstddef>
#include <cstdint>

namespace zor {

// floor(sum / 255) for sums from 0 to 65025, the largest sum of two products of bytes whose weights add up to 255. With
// sum = 255 q + r: sum >> 8 is q, or q - 1 where r < q, and what is shifted last is 256 q + r + 1 or 256 q + r.
constexpr unsigned DivideBy255(unsigned sum) {
    return (sum + 1 + (sum >> 8)) >> 8;
}

// `below` where the mask is 255, `above` where it is 0. Never leaves a byte.
constexpr std::uint8_t Mix(unsigned above, unsigned mask, unsigned below) {
    return static_cast<std::uint8_t>(DivideBy255(above * (255 - mask) + mask * below));
}

// What a premultiplied sample leaves of the one below it is added to it. Up to 510; stored, it keeps its low byte, so
// that a source that was not truly premultiplied wraps.
constexpr unsigned AddOver(unsigned above, unsigned mask, unsigned below) {
    return above + DivideBy255(mask * below);
}

// The sums of AddOver may go in as they are, up to 510; of what comes out then the low byte counts.
constexpr std::uint8_t GrayOf(unsigned red, unsigned green, unsigned blue) {
    return static_cast<std::uint8_t>((77 * red + 151 * green + 28 * blue) >> 8);
}

// The channel count of a gray or RGB pixel says which of four classes it is of: its colours come first, alpha last.
enum PixelClass : int { kG = 1, kGA = 2, kRGB = 3, kRGBA = 4 };
constexpr int kMaxChannels = kRGBA;

constexpr int ColourCount(int pixelClass) {
    return pixelClass >= kRGB ? 3 : 1;
}
constexpr bool HasAlphaIn(int pixelClass) {
    return pixelClass == kGA || pixelClass == kRGBA;
}

// What a pixel of another class has to say about each channel of a target pixel: one gray for all three colours, or
// the gray of three colours. What has no alpha is opaque. channels holds the byte offsets of the other pixel.
template <int kDst, int kOther>
inline void ReadSamples(const std::uint8_t* pixel, const std::ptrdiff_t* channels, std::uint8_t* samples) {
    constexpr int kColours = ColourCount(kDst);
    if constexpr (kColours == ColourCount(kOther)) {
        for (int c = 0; c < kColours; ++c) samples[c] = pixel[channels[c]];
    } else if constexpr (kColours == 1) {
        samples[0] = GrayOf(pixel[channels[0]], pixel[channels[1]], pixel[channels[2]]);
    } else {
        samples[0] = samples[1] = samples[2] = pixel[channels[0]];
    }
    if constexpr (HasAlphaIn(kDst)) samples[kColours] = HasAlphaIn(kOther) ? pixel[channels[ColourCount(kOther)]] : 255;
}

}  // namespace zor
