#include <algorithm>

#include "kernels/BlendRuns.h"

namespace zor {

namespace {

// Pixels that are worked at once: three buffers of them stay in the nearest cache.
constexpr std::ptrdiff_t kStretch = 512;

// What a stretch of another image says about the bytes of the target's pixels; at[c] is the byte of channel c.
template <int kDst, int kOther>
void GatherFor(const PixelRun& other, std::ptrdiff_t first, std::ptrdiff_t count, const std::ptrdiff_t* at,
               std::uint8_t* out) {
    const PixelRun run = other;
    std::ptrdiff_t place[kDst];
    std::copy(at, at + kDst, place);
    const std::uint8_t* pixel = run.pixels + first * run.step;
    for (std::ptrdiff_t i = 0; i < count; ++i, pixel += run.step, out += kDst) {
        std::uint8_t samples[kDst];
        ReadSamples<kDst, kOther>(pixel, run.channels.offset, samples);
        for (int c = 0; c < kDst; ++c) out[place[c]] = samples[c];
    }
}

using GatherForFn = void (*)(const PixelRun&, std::ptrdiff_t, std::ptrdiff_t, const std::ptrdiff_t*, std::uint8_t*);

template <int kDst>
constexpr GatherForFn kGatherFor[kMaxChannels] = {GatherFor<kDst, kG>, GatherFor<kDst, kGA>, GatherFor<kDst, kRGB>,
                                                  GatherFor<kDst, kRGBA>};

// Byte of each channel inside a packed pixel.
struct ByteOrder {
    std::ptrdiff_t lowest;
    std::ptrdiff_t at[kMaxChannels];
};

ByteOrder OrderOf(const PixelRun& run) {
    ByteOrder order{run.channels.lowest(), {}};
    for (int c = 0; c < run.channels.count; ++c) order.at[c] = run.channels.offset[c] - order.lowest;
    return order;
}

// The same as a run of bytes: where the other image has them so already there, and otherwise in the buffer.
template <int kDst>
const std::uint8_t* BytesFor(const ByteOrder& order, const PixelRun& other, std::ptrdiff_t first, std::ptrdiff_t count,
                             const BlendKernels& ops, std::uint8_t* buffer) {
    if (other.step == 0 && first > 0) return buffer;  // still there from the first stretch
    if (other.channels.count == kDst && other.step == kDst) {
        const ByteOrder its = OrderOf(other);
        if (std::equal(its.at, its.at + kDst, order.at)) return other.pixels + its.lowest + first * kDst;
    }
    if constexpr (ColourCount(kDst) == 3) {
        if (other.channels.count == kG && other.step == 1) {
            const std::uint8_t* const gray = other.pixels + other.channels.offset[0] + first;
            if constexpr (kDst == kRGB) {
                ops.replicate3(buffer, gray, count);
            } else {
                ops.replicate4Opaque(buffer, gray, static_cast<int>(order.at[3]), count);
            }
            return buffer;
        }
    }
    kGatherFor<kDst>[other.channels.count - 1](other, first, count, order.at, buffer);
    return buffer;
}

template <bool kPremultiplied, int kDst>
void BlendPacked(const BlendKernels& ops, const PixelRun* runs, std::ptrdiff_t count, const ColourSamples&) {
    const ByteOrder order = OrderOf(runs[0]);
    std::uint8_t srcBuffer[kStretch * kDst], maskBuffer[kStretch * kDst], alphaBuffer[kStretch * kDst];
    for (std::ptrdiff_t first = 0; first < count; first += kStretch) {
        const std::ptrdiff_t pixels = std::min(kStretch, count - first), bytes = pixels * kDst;
        std::uint8_t* const d = runs[0].pixels + order.lowest + first * kDst;
        const std::uint8_t* const s = BytesFor<kDst>(order, runs[1], first, pixels, ops, srcBuffer);
        const std::uint8_t* const m = BytesFor<kDst>(order, runs[2], first, pixels, ops, maskBuffer);
        if constexpr (!kPremultiplied) {
            ops.mix(d, s, m, bytes);
        } else if constexpr (kDst == kRGBA) {
            ops.replicateAlpha(alphaBuffer, d, static_cast<int>(order.at[3]), pixels);
            ops.addOverOther(d, s, m, alphaBuffer, bytes);
        } else if constexpr (kDst == kRGB) {
            ops.add(d, s, m, bytes);  // the missing alpha is 255, and what is left of that is the mask itself
        } else {
            ops.addOver(d, s, m, bytes);
        }
    }
}

// A colour target in pixels of four bytes: the fourth counts as an alpha under a mask without alpha, which keeps it.
// The last pixel is worked alone, since the byte behind it need not belong to the image.
void BlendPadded(const BlendKernels& ops, const PixelRun* runs, std::ptrdiff_t count, const ColourSamples& colour) {
    PixelRun padded[] = {runs[0], runs[1], runs[2]};
    const ByteOrder order = OrderOf(runs[0]);
    padded[0].channels.count = kRGBA;
    padded[0].channels.offset[3] = order.lowest + 3;
    padded[2].channels.count = ColourCount(runs[2].channels.count);
    BlendPacked<false, kRGBA>(ops, padded, count - 1, colour);

    PixelRun last[] = {runs[0], runs[1], runs[2]};
    for (PixelRun& run : last) run.pixels += (count - 1) * run.step;
    BlendPacked<false, kRGB>(ops, last, 1, colour);
}

template <bool kPremultiplied>
constexpr BlendFn kPackedBlends[kMaxChannels] = {BlendPacked<kPremultiplied, kG>, BlendPacked<kPremultiplied, kGA>,
                                                 BlendPacked<kPremultiplied, kRGB>, BlendPacked<kPremultiplied, kRGBA>};

// A run of one pixel again and again. It refers to the samples.
PixelRun ConstantRun(const std::uint8_t* samples, int channelCount) {
    return {const_cast<std::uint8_t*>(samples), 0, {channelCount, {0, 1, 2}}};
}

// Without premultiplication the colour is just the source or the mask of a masked blend.

void PaintColourPacked(const BlendKernels& ops, const PixelRun* runs, std::ptrdiff_t count,
                       const ColourSamples& colour) {
    const PixelRun blend[] = {runs[0], ConstantRun(colour.rgb, kRGB), runs[1]};
    PackedBlend(runs[0], false)(ops, blend, count, colour);
}

void LayThroughColourPacked(const BlendKernels& ops, const PixelRun* runs, std::ptrdiff_t count,
                            const ColourSamples& colour) {
    const PixelRun blend[] = {runs[0], runs[1], ConstantRun(colour.rgb, runs[0].channels.count)};
    PackedBlend(runs[0], false)(ops, blend, count, colour);
}

}  // namespace

BlendFn PackedBlend(const PixelRun& dst, bool premultiplied) {
    const int count = dst.channels.count;
    if (dst.channels.highest() - dst.channels.lowest() + 1 != count) return nullptr;
    if (count == kRGB && dst.step == 4 && !premultiplied) return BlendPadded;
    if (dst.step != count) return nullptr;
    return premultiplied ? kPackedBlends<true>[count - 1] : kPackedBlends<false>[count - 1];
}

BlendFn PackedColourPaint(const PixelRun& dst, bool premultiplied, int imageClass) {
    // A gray target is mixed three times over, and the mask of colours is their mean: neither is a masked blend.
    if (premultiplied || dst.channels.count != kRGB || imageClass != kG || !PackedBlend(dst, false)) return nullptr;
    return PaintColourPacked;
}

BlendFn PackedColourMaskedLay(const PixelRun& dst, bool premultiplied) {
    return premultiplied || !PackedBlend(dst, false) ? nullptr : LayThroughColourPacked;
}

}  // namespace zor
