#include "kernels/Nearest.h"

#include "kernels/ConvertPixel.h"

namespace zor {

template <PixelRule kRule, int kSrc, int kDst, bool kAlpha>
static void Nearest_Plain(const PixelRun& dstRun, const PixelRun& srcRun, const std::int32_t* columns,
                          std::ptrdiff_t count) {
    std::ptrdiff_t srcOffset[kSrc + kAlpha], dstOffset[kDst + kAlpha];
    std::copy_n(srcRun.channels.offset, kSrc + kAlpha, srcOffset);
    std::copy_n(dstRun.channels.offset, kDst + kAlpha, dstOffset);
    const std::uint8_t* __restrict const row = srcRun.pixels;
    std::uint8_t* __restrict dst = dstRun.pixels;
    const std::ptrdiff_t srcStep = srcRun.step, dstStep = dstRun.step;
    for (std::ptrdiff_t i = 0; i < count; ++i, dst += dstStep) {
        ConvertPixel<kRule, kSrc, kDst, kAlpha>(row + columns[i] * srcStep, srcOffset, dst, dstOffset, 0);
    }
}

static void Shuffle_Plain(const ByteShuffle& given, const std::uint8_t* __restrict src, std::uint8_t* __restrict dst) {
    const ByteShuffle shuffle = given;  // the stores below cannot change a copy
    constexpr std::ptrdiff_t kPiece = ByteShuffle::kPiece;
    for (std::ptrdiff_t piece = 0; piece < PiecesOf(shuffle.bytes); ++piece) {
        std::uint8_t* const to = dst + std::min(piece * kPiece, shuffle.bytes - kPiece);
        const std::uint8_t* const index = shuffle.index + piece * shuffle.windows * kPiece;
        for (std::ptrdiff_t i = 0; i < kPiece; ++i) {
            if (shuffle.keep && shuffle.keep[piece * kPiece + i] != 0) continue;
            std::uint8_t byte = 0;
            const std::uint8_t* window = src + shuffle.from[piece];
            for (int w = 0; w < shuffle.windows; ++w, window += kPiece) {
                if (index[w * kPiece + i] < kPiece) byte = window[index[w * kPiece + i]];
            }
            to[i] = byte;
        }
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
    kernels->shuffle = Shuffle_Plain;
}

}  // namespace zor
