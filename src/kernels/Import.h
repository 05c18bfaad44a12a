#pragma once
// What becomes of pixels of a host picture in an image.

#include "kernels/PixelRun.h"

namespace zor {

enum class ImportRule : unsigned char {
    colours,      // the picture's samples as they are
    constant,     // the same behind a constant alpha: 255, or 0 inverted
    maskToAlpha,  // the same behind an alpha that is the mask's red, or its complement
    blend,  // (mask * image + (255 - mask) * picture) / 255, channel by channel; inverted: by the mask's complement
};

constexpr bool NeedsMask(ImportRule rule) {
    return rule == ImportRule::maskToAlpha || rule == ImportRule::blend;
}

// runs: image, picture and, where the rule has one, mask. Alpha is the first channel of the image where it is written.
// invert: what the mask's samples are exclusive-or'ed with, 0 or 255. From left to right, each pixel decoded before it
// is written; this defines the results.
using ImportFn = void (*)(const PixelRun* runs, std::ptrdiff_t count, std::uint8_t invert);

// colours: 3, or for the first rule 1.
ImportFn ImportInOrder(ImportRule rule, int colours);

}  // namespace zor
