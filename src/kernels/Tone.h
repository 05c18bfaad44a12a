#pragma once
// Kernels that look at how bright pixels are.

#include "kernels/PixelRun.h"

namespace zor {

// What each channel adds to the luminance of a pixel. The three are summed from red to blue, which must stay below 256.
struct LuminanceParts {
    double red[256];
    double green[256];
    double blue[256];
};

// The glow of a sample whose squared differences to its two neighbours add up to that; 0 to 130050.
std::uint8_t NeonGlow_Plain(int squares);
std::uint8_t NeonGlow(int squares);

struct ToneKernels {
    using Glow = void (*)(const PixelRun& dst, const PixelRun& here, const PixelRun& below, std::ptrdiff_t count);

    // Adds the pixels of a run of three channels, red, green and blue, to the counts of their luminance, rounded down.
    void (*luminance)(const PixelRun& rgb, std::ptrdiff_t count, const LuminanceParts& parts,
                      std::uint32_t* countOfLevel);
    // The glow of each sample beside those of the next pixel and of the one below, by channel count, [0] for one
    // channel. So one pixel more is read here. dst shares no byte with the others, whose steps and channels are the
    // same.
    Glow glow[ChannelSet::kMax];
};

void InitTone_Plain(ToneKernels* kernels);

}  // namespace zor
