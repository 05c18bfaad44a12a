#include "kernels/Pack.h"

namespace zor {

template <int kCount>
static void Gather_Plain(const PixelRun& src, std::ptrdiff_t count, std::uint8_t* packed) {
    const PixelRun run = src;  // the stores below cannot change a copy
    const std::uint8_t* pixel = run.pixels;
    for (std::ptrdiff_t i = 0; i < count; ++i, pixel += run.step, packed += kCount) {
        for (int c = 0; c < kCount; ++c) packed[c] = pixel[run.channels.offset[c]];
    }
}

template <int kCount>
static void Scatter_Plain(const PixelRun& dst, std::ptrdiff_t count, const std::uint8_t* packed) {
    const PixelRun run = dst;
    std::uint8_t* pixel = run.pixels;
    for (std::ptrdiff_t i = 0; i < count; ++i, pixel += run.step, packed += kCount) {
        for (int c = 0; c < kCount; ++c) pixel[run.channels.offset[c]] = packed[c];
    }
}

void InitPack_Plain(PackKernels* kernels) {
    *kernels = {{Gather_Plain<1>, Gather_Plain<2>, Gather_Plain<3>, Gather_Plain<4>, Gather_Plain<5>},
                {Scatter_Plain<1>, Scatter_Plain<2>, Scatter_Plain<3>, Scatter_Plain<4>, Scatter_Plain<5>}};
}

}  // namespace zor
