#pragma once
// Kernels between pixels in an image and packed samples: channel after channel, pixel after pixel, without a gap.

#include "kernels/PixelRun.h"

namespace zor {

// The run and the packed bytes do not overlap. By channel count, [0] for one channel.
struct PackKernels {
    using Gather = void (*)(const PixelRun& src, std::ptrdiff_t count, std::uint8_t* packed);
    using Scatter = void (*)(const PixelRun& dst, std::ptrdiff_t count, const std::uint8_t* packed);

    Gather gather[ChannelSet::kMax];
    Scatter scatter[ChannelSet::kMax];  // pixels from the left, their channels in the order of the set
};

void InitPack_Plain(PackKernels* kernels);
void InitPack_Sse4(PackKernels* kernels);
void InitPack_Avx2(PackKernels* kernels);
void InitPack_Neon(PackKernels* kernels);

}  // namespace zor
