#pragma once
// Rows of pixels with other colours, rounded: gray, RGB, or the four inks of CMYK. No images, no host.

#include <cstddef>
#include <cstdint>

namespace zor {

// The gray of a colour, rounded.
inline std::uint8_t GrayOf(int red, int green, int blue) {
    return static_cast<std::uint8_t>((77 * red + 151 * green + 28 * blue + 128) >> 8);
}

// Pixels are their colours, 1, 3 or 4 bytes, and behind those their alpha where they have one: one that is new is
// opaque, one that goes is left out, whatever it hides. Of ink only the black becomes gray, and gray becomes black ink,
// whose 255 is gray 0. False, with nothing written, between RGB and ink, where only colour profiles tell the way. dst
// shares no byte with src.
[[nodiscard]] bool RecolourRow(const std::uint8_t* src, int srcColours, bool srcHasAlpha, std::uint8_t* dst,
                               int dstColours, bool dstHasAlpha, std::ptrdiff_t pixels);

}  // namespace zor
