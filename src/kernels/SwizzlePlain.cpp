#include "kernels/Swizzle.h"

namespace zor {

namespace {

// The bytes of a pixel that are written.
struct ByteMoves {
    int count;
    int to[Swizzle::kMaxStep];
    int from[Swizzle::kMaxStep];
    std::uint8_t take[Swizzle::kMaxStep];  // 255, or 0 for a constant
    std::uint8_t flip[Swizzle::kMaxStep];
};

ByteMoves MovesOf(const Swizzle& swizzle) {
    ByteMoves moves{};
    for (int j = 0; j < swizzle.dstBytes; ++j) {
        const int from = swizzle.from[j];
        if (from == Swizzle::kStays) continue;
        const bool isConstant = from == Swizzle::kConstant;
        moves.to[moves.count] = j;
        moves.from[moves.count] = isConstant ? 0 : from;
        moves.take[moves.count] = isConstant ? 0 : 255;
        moves.flip[moves.count++] = swizzle.flip[j];
    }
    return moves;
}

void Move_Plain(const Swizzle& swizzle, std::uint8_t* dst, const std::uint8_t* src, std::ptrdiff_t count) {
    const ByteMoves moves = MovesOf(swizzle);
    const std::ptrdiff_t srcStep = swizzle.srcStep, dstStep = swizzle.dstStep;
    WithChannelCount(moves.count, [&](auto bytes) {
        const ByteMoves my = moves;  // the stores below cannot change a copy
        const std::uint8_t* __restrict srcPixel = src;
        std::uint8_t* __restrict dstPixel = dst;
        for (std::ptrdiff_t i = 0; i < count; ++i, srcPixel += srcStep, dstPixel += dstStep) {
            for (int k = 0; k < bytes; ++k) {
                dstPixel[my.to[k]] = static_cast<std::uint8_t>((srcPixel[my.from[k]] & my.take[k]) ^ my.flip[k]);
            }
        }
    });
}

bool IsStep(std::ptrdiff_t step) {
    return step >= 1 && step <= Swizzle::kMaxStep;
}

}  // namespace

bool MakeSwizzle(const PixelRun& dst, const PixelRun& src, const signed char* channel, const std::uint8_t* flip,
                 SwizzleRun* run) {
    if (!IsStep(dst.step) || !IsStep(src.step)) return false;
    const std::ptrdiff_t dstLowest = dst.channels.lowest(), srcLowest = src.channels.lowest();
    const std::ptrdiff_t dstBytes = dst.channels.highest() - dstLowest + 1;
    const std::ptrdiff_t srcBytes = src.channels.highest() - srcLowest + 1;
    if (dstBytes > dst.step || srcBytes > src.step) return false;
    Swizzle swizzle{static_cast<int>(src.step),
                    static_cast<int>(dst.step),
                    static_cast<int>(srcBytes),
                    static_cast<int>(dstBytes),
                    {},
                    {}};
    std::fill_n(swizzle.from, Swizzle::kMaxStep, Swizzle::kStays);
    for (int c = 0; c < dst.channels.count; ++c) {
        const std::ptrdiff_t at = dst.channels.offset[c] - dstLowest;
        swizzle.from[at] = channel[c] == Swizzle::kConstant
                               ? Swizzle::kConstant
                               : static_cast<signed char>(src.channels.offset[channel[c]] - srcLowest);
        swizzle.flip[at] = flip[c];
    }
    *run = {swizzle, dst.pixels + dstLowest, src.pixels + srcLowest};
    return true;
}

void InitSwizzle_Plain(SwizzleKernels* kernels) {
    *kernels = {Move_Plain};
}

}  // namespace zor
