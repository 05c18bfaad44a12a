#pragma once
// Kernels that change the channels of a run in place: pixels from the left, channels in the order of the set.

#include "kernels/PixelRun.h"

namespace zor {

// old * oldWeight + added, of which bits 16 to 23 are stored. The sum wraps at 32 bits.
struct LayOverWeights {
    std::uint32_t oldWeight;
    std::uint32_t added[ChannelSet::kMax];  // by channel
};

// By channel count, [0] for one channel.
struct TouchKernels {
    using Store = void (*)(const PixelRun& dst, std::ptrdiff_t count, const std::uint8_t* value);
    using Complement = void (*)(const PixelRun& dst, std::ptrdiff_t count);
    using LayOver = void (*)(const PixelRun& dst, std::ptrdiff_t count, const LayOverWeights& weights);

    Store store[ChannelSet::kMax];  // value[c] into channel c
    Complement complement[ChannelSet::kMax];
    LayOver layOver[ChannelSet::kMax];
};

void InitTouch_Plain(TouchKernels* kernels);
void InitTouch_Sse4(TouchKernels* kernels);
void InitTouch_Avx2(TouchKernels* kernels);
void InitTouch_Neon(TouchKernels* kernels);

}  // namespace zor
