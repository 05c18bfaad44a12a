#pragma once
// How samples of other depths become the 8 bits that images have. One rule for every format.

#include <cstdint>

// The nearest of 0 to 255 for a sample of 0 to `most`, which is 1 to 65535; a half goes up. For 16 bits this is what
// libpng gives.
constexpr std::uint8_t SampleIn8Bits(std::uint32_t sample, std::uint32_t most) {
    return static_cast<std::uint8_t>((sample * 510U + most) / (most * 2U));
}
