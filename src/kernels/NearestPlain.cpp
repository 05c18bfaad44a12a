#include "kernels/Nearest.h"

template <int kCount>
static void Pick_Plain(const PixelRun& dstRun, const PixelRun& srcRun, double ratio, int first, std::ptrdiff_t count) {
    std::ptrdiff_t from[kCount], to[kCount];
    std::copy_n(srcRun.channels.offset, kCount, from);
    std::copy_n(dstRun.channels.offset, kCount, to);
    const std::uint8_t* __restrict const row = srcRun.pixels;
    std::uint8_t* __restrict dst = dstRun.pixels;
    const std::ptrdiff_t srcStep = srcRun.step, dstStep = dstRun.step;
    for (std::ptrdiff_t i = 0; i < count; ++i, dst += dstStep) {
        const std::uint8_t* const src =
            row + static_cast<std::ptrdiff_t>((first + static_cast<int>(i)) * ratio) * srcStep;
        for (int c = 0; c < kCount; ++c) dst[to[c]] = src[from[c]];
    }
}

void InitNearest_Plain(NearestKernels* kernels) {
    *kernels = {{Pick_Plain<1>, Pick_Plain<2>, Pick_Plain<3>, Pick_Plain<4>, Pick_Plain<5>}};
}
