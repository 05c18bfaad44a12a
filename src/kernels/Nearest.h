#pragma once
// Kernels that convert pixels picked from a row at equal distances, which need not be whole: the nearest-pixel
// scaler's.

#include "kernels/Convert.h"

namespace zor {

// Pixel i of dst is made of column (first + i) * ratio of src, truncated; src.pixels is the address of column 0.
using NearestFn = void (*)(const PixelRun& dst, const PixelRun& src, double ratio, int first, std::ptrdiff_t count);

// For runs that share no byte. By conversion, without alpha and with it.
struct NearestKernels {
    NearestFn apart[kConversions][2];
};

void InitNearest_Plain(NearestKernels* kernels);

}  // namespace zor
