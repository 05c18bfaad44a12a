#include "kernels/Nearest.h"

#include "kernels/ConvertPixel.h"

namespace zor {

template <PixelRule kRule, int kSrc, int kDst, bool kAlpha>
static void Nearest_Plain(const PixelRun& dstRun, const PixelRun& srcRun, double ratio, int first,
                          std::ptrdiff_t count) {
    std::ptrdiff_t srcOffset[kSrc + kAlpha], dstOffset[kDst + kAlpha];
    std::copy_n(srcRun.channels.offset, kSrc + kAlpha, srcOffset);
    std::copy_n(dstRun.channels.offset, kDst + kAlpha, dstOffset);
    const std::uint8_t* __restrict const row = srcRun.pixels;
    std::uint8_t* __restrict dst = dstRun.pixels;
    const std::ptrdiff_t srcStep = srcRun.step, dstStep = dstRun.step;
    const int last = first + static_cast<int>(count);
    for (int x = first; x < last; ++x, dst += dstStep) {
        const std::uint8_t* const src = row + static_cast<std::ptrdiff_t>(x * ratio) * srcStep;
        ConvertPixel<kRule, kSrc, kDst, kAlpha>(src, srcOffset, dst, dstOffset, 0);
    }
}

template <PixelRule kRule, int kSrc, int kDst>
static void InitRow(NearestKernels* kernels, Conversion conversion) {
    kernels->apart[conversion][0] = Nearest_Plain<kRule, kSrc, kDst, false>;
    kernels->apart[conversion][1] = Nearest_Plain<kRule, kSrc, kDst, true>;
}

void InitNearest_Plain(NearestKernels* kernels) {
    InitRow<PixelRule::copy, 1, 1>(kernels, kCopy1);
    InitRow<PixelRule::copy, 3, 3>(kernels, kCopy3);
    InitRow<PixelRule::copy, 4, 4>(kernels, kCopy4);
    InitRow<PixelRule::replicate, 1, 3>(kernels, kReplicate1To3);
    InitRow<PixelRule::replicate, 1, 4>(kernels, kReplicate1To4);
    InitRow<PixelRule::blackOnly, 1, 4>(kernels, kBlackOnly1To4);
    InitRow<PixelRule::luma, 3, 1>(kernels, kLuma3To1);
}

}  // namespace zor
