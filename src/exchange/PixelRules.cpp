#include "exchange/PixelRules.h"

#include <algorithm>
#include <iterator>

PixelFamily FamilyOf(const ImageClassData* record) {
    if (record->IsGray) return PixelFamily::gray;
    if (record->IsRGB) return PixelFamily::rgb;
    if (record->IsCMYK) return PixelFamily::cmyk;
    return PixelFamily::none;
}

namespace {

// One pixel. load(c) reads channel c of the source's set, store(c, value) writes channel c of the target's.
template <PixelRule kRule, int kSource, int kDest, bool kAlpha, class Load, class Store>
inline void ConvertPixel(std::uint8_t alphaMask, Load load, Store store) {
    if constexpr (kRule == PixelRule::copy) {
        for (int c = 0; c < kDest; ++c) store(c, load(c));
    } else if constexpr (kRule == PixelRule::spread) {
        const std::uint8_t value = load(0);
        for (int c = 0; c < kDest; ++c) store(c, value);
    } else if constexpr (kRule == PixelRule::blackOnly) {
        const std::uint8_t value = load(0);
        for (int c = 0; c < kDest - 1; ++c) store(c, 0);
        store(kDest - 1, value);
    } else {
        store(0, static_cast<std::uint8_t>((77 * load(0) + 151 * load(1) + 28 * load(2)) >> 8));
    }
    if constexpr (kAlpha) store(kDest, static_cast<std::uint8_t>(load(kSource) ^ alphaMask));
}

template <int kCount>
struct Offsets {
    std::ptrdiff_t at[kCount];
    explicit Offsets(const ChannelSet& set) { std::copy_n(set.offset, kCount, at); }
};

// Pixels that lie inside the storage on both sides.
template <PixelRule kRule, int kSource, int kDest, bool kAlpha>
void ConvertInside(const PixelPlan& plan, std::uint8_t* dst, const std::uint8_t* src, std::ptrdiff_t count) {
    const Offsets<kSource + kAlpha> from(plan.source);
    const Offsets<kDest + kAlpha> to(plan.dest);
    const std::ptrdiff_t srcStep = plan.sourceSize, dstStep = plan.destSize;
    const std::uint8_t alphaMask = plan.alphaMask;
    for (std::ptrdiff_t i = 0; i < count; ++i, src += srcStep, dst += dstStep) {
        ConvertPixel<kRule, kSource, kDest, kAlpha>(
            alphaMask, [&](int c) { return src[from.at[c]]; },
            [&](int c, std::uint8_t value) { dst[to.at[c]] = value; });
    }
}

// Pixels of which some bytes may lie outside.
template <PixelRule kRule, int kSource, int kDest, bool kAlpha>
void ConvertByByte(const PixelPlan& plan, const RowSpan& dst, std::ptrdiff_t dstX, const RowSpan& src,
                   std::ptrdiff_t srcX, PixelRange run) {
    for (std::ptrdiff_t i = run.first; i < run.last; ++i) {
        const std::ptrdiff_t from = (srcX + i) * plan.sourceSize, to = (dstX + i) * plan.destSize;
        ConvertPixel<kRule, kSource, kDest, kAlpha>(
            plan.alphaMask, [&](int c) { return src.Load(from + plan.source.offset[c]); },
            [&](int c, std::uint8_t value) { dst.Store(to + plan.dest.offset[c], value); });
    }
}

template <PixelRule kRule, int kSource, int kDest, bool kAlpha>
void ConvertRow(const PixelPlan& plan, const RowSpan& dst, std::ptrdiff_t dstX, const RowSpan& src, std::ptrdiff_t srcX,
                std::ptrdiff_t width) {
    const PixelRange reached = PixelsReached(dst, plan.destSize, plan.dest, dstX, width);
    const PixelRange to = PixelsInside(dst, plan.destSize, plan.dest, dstX, width);
    const PixelRange from = PixelsInside(src, plan.sourceSize, plan.source, srcX, width);
    const std::ptrdiff_t first = std::clamp(from.first, to.first, to.last);
    const std::ptrdiff_t last = std::clamp(from.last, first, to.last);
    ConvertByByte<kRule, kSource, kDest, kAlpha>(plan, dst, dstX, src, srcX, {reached.first, first});
    if (first < last) {
        ConvertInside<kRule, kSource, kDest, kAlpha>(plan, dst.data + (dstX + first) * plan.destSize,
                                                     src.data + (srcX + first) * plan.sourceSize, last - first);
    }
    ConvertByByte<kRule, kSource, kDest, kAlpha>(plan, dst, dstX, src, srcX, {last, reached.last});
}

// Every combination of a rule and two families that the tables of rules can name.
struct Conversion {
    PixelRule rule;
    int source;                     // colours read
    int dest;                       // colours written
    ConvertRowFunction convert[2];  // without alpha, with alpha
};

template <PixelRule kRule, int kSource, int kDest>
constexpr Conversion For() {
    return {kRule, kSource, kDest, {ConvertRow<kRule, kSource, kDest, false>, ConvertRow<kRule, kSource, kDest, true>}};
}

constexpr Conversion kConversions[] = {
    For<PixelRule::copy, 1, 1>(),   For<PixelRule::copy, 3, 3>(),   For<PixelRule::copy, 4, 4>(),
    For<PixelRule::spread, 1, 3>(), For<PixelRule::spread, 1, 4>(), For<PixelRule::blackOnly, 1, 4>(),
    For<PixelRule::luma, 3, 1>(),
};

}  // namespace

PixelPlan MakePlan(PixelRule rule, const ImageClassData* source, const ChannelSet& sourceChannels,
                   const ImageClassData* dest, const ChannelSet& destChannels, bool withAlpha, std::uint8_t alphaMask) {
    PixelPlan plan{nullptr, sourceChannels, destChannels, source->PixelSize, dest->PixelSize, alphaMask};
    const auto fits = [&](const Conversion& each) {
        return each.rule == rule && each.source == sourceChannels.count && each.dest == destChannels.count;
    };
    const Conversion* const found = std::find_if(std::begin(kConversions), std::end(kConversions), fits);
    if (found == std::end(kConversions)) return plan;
    plan.convert = found->convert[withAlpha];
    if (withAlpha) {
        plan.source.offset[plan.source.count++] = source->AlphaOffset;
        plan.dest.offset[plan.dest.count++] = dest->AlphaOffset;
    }
    return plan;
}

PixelPlan ForPackedSource(const PixelPlan& plan) {
    PixelPlan packed = plan;
    packed.sourceSize = plan.source.count;
    for (int c = 0; c < plan.source.count; ++c) packed.source.offset[c] = c;
    return packed;
}

void ConvertPixels(const PixelPlan& plan, const RowSpan& dst, std::ptrdiff_t dstX, const RowSpan& src,
                   std::ptrdiff_t srcX, std::ptrdiff_t width) {
    if (plan.convert && dst && src && width > 0) plan.convert(plan, dst, dstX, src, srcX, width);
}
