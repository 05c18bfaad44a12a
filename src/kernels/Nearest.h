#pragma once
// Kernels that pick pixels from a row at equal distances, which need not be whole: the nearest-pixel scaler's.

#include "kernels/PixelRun.h"

// Channel c of pixel i of dst becomes channel c of column (first + i) * ratio of src, truncated; src.pixels is the
// address of column 0. The runs share no byte. By channel count, [0] for one channel.
struct NearestKernels {
    using Pick = void (*)(const PixelRun& dst, const PixelRun& src, double ratio, int first, std::ptrdiff_t count);
    Pick pick[ChannelSet::kMax];
};

void InitNearest_Plain(NearestKernels* kernels);
