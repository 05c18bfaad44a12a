#include "kernels/ConvertPixel.h"

namespace zor {

namespace {

template <PixelRule kRule, int kSrc, int kDst, bool kAlpha>
void Convert_InOrder(const PixelRun& dstRun, const PixelRun& srcRun, std::ptrdiff_t count, std::uint8_t alphaMask) {
    const PixelRun src = srcRun, dst = dstRun;  // the stores below cannot change copies
    const std::uint8_t* srcPixel = src.pixels;
    std::uint8_t* dstPixel = dst.pixels;
    for (std::ptrdiff_t i = 0; i < count; ++i, srcPixel += src.step, dstPixel += dst.step) {
        ConvertPixel<kRule, kSrc, kDst, kAlpha>(srcPixel, src.channels.offset, dstPixel, dst.channels.offset,
                                                alphaMask);
        EndOfPixel();
    }
}

template <PixelRule kRule, int kSrc, int kDst, bool kAlpha>
void Convert_Plain(const PixelRun& dstRun, const PixelRun& srcRun, std::ptrdiff_t count, std::uint8_t alphaMask) {
    const PixelRun src = srcRun, dst = dstRun;
    const std::uint8_t* __restrict srcPixel = src.pixels;
    std::uint8_t* __restrict dstPixel = dst.pixels;
    for (std::ptrdiff_t i = 0; i < count; ++i, srcPixel += src.step, dstPixel += dst.step) {
        ConvertPixel<kRule, kSrc, kDst, kAlpha>(srcPixel, src.channels.offset, dstPixel, dst.channels.offset,
                                                alphaMask);
    }
}

struct Row {
    PixelRule rule;
    int srcColours;
    int dstColours;
    ConvertFn inOrder[2];  // without alpha, with alpha
    ConvertFn plain[2];
};

template <PixelRule kRule, int kSrc, int kDst>
constexpr Row RowOf() {
    return {kRule,
            kSrc,
            kDst,
            {Convert_InOrder<kRule, kSrc, kDst, false>, Convert_InOrder<kRule, kSrc, kDst, true>},
            {Convert_Plain<kRule, kSrc, kDst, false>, Convert_Plain<kRule, kSrc, kDst, true>}};
}

constexpr Row kRows[kConversions] = {
    RowOf<PixelRule::copy, 1, 1>(),      RowOf<PixelRule::copy, 3, 3>(),      RowOf<PixelRule::copy, 4, 4>(),
    RowOf<PixelRule::replicate, 1, 3>(), RowOf<PixelRule::replicate, 1, 4>(), RowOf<PixelRule::blackOnly, 1, 4>(),
    RowOf<PixelRule::luma, 3, 1>(),
};

}  // namespace

Conversion ConversionOf(PixelRule rule, int srcColours, int dstColours) {
    for (int i = 0; i < kConversions; ++i) {
        const Row& row = kRows[i];
        if (row.rule == rule && row.srcColours == srcColours && row.dstColours == dstColours) {
            return static_cast<Conversion>(i);
        }
    }
    return kNoConversion;
}

ConvertFn ConvertInOrder(Conversion conversion, bool withAlpha) {
    return kRows[conversion].inOrder[withAlpha];
}

void InitConvert_Plain(ConvertKernels* kernels) {
    for (int i = 0; i < kConversions; ++i) {
        for (int alpha = 0; alpha < 2; ++alpha) kernels->apart[i][alpha] = kRows[i].plain[alpha];
    }
}

}  // namespace zor
