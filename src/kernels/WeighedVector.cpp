#include "kernels/Weighed.h"

#include <cstring>

#include "kernels/Vector.h"

namespace zor {

namespace {

const hn::ScalableTag<float> kFloats;
const hn::ScalableTag<std::int32_t> kInts;
const hn::ScalableTag<std::uint8_t> kBytes;
using Floats = hn::Vec<decltype(kFloats)>;
constexpr int kFloatLanes = static_cast<int>(hn::MaxLanes(hn::ScalableTag<float>()));
const hn::Rebind<std::uint8_t, decltype(kFloats)> kBytesOfFloats;
const hn::CappedTag<float, 4> kQuad;
const hn::CappedTag<float, 2> kPair;
const hn::CappedTag<std::uint8_t, 16> kBytes16;
const hn::CappedTag<std::uint16_t, 8> kWords8;

// For every pixel of a vector: alpha for its colours, and 1 for alpha. The kind of a pixel is that of four floats: red,
// green, blue and alpha, or twice gray and alpha.
template <WeighedShape kShape>
HWY_INLINE Floats AlphaOf(Floats pixels) {
    if constexpr (kShape == kGrayByAlpha) return hn::DupOdd(pixels);
    return hn::Broadcast<3>(pixels);
}
template <WeighedShape kShape>
HWY_INLINE Floats FactorOf(Floats pixels) {
    const Floats one = hn::Set(kFloats, 1.0F), alpha = AlphaOf<kShape>(pixels);
    if constexpr (kShape == kGrayByAlpha) return hn::OddEven(one, alpha);
    alignas(16) constexpr float kIsAlpha[4] = {0.0F, 0.0F, 0.0F, 1.0F};
    return hn::IfThenElse(hn::Gt(hn::LoadDup128(kFloats, kIsAlpha), hn::Zero(kFloats)), one, alpha);
}

HWY_INLINE Floats CutTo(Floats value, Floats most) {
    return hn::Min(hn::IfThenElseZero(hn::Gt(value, hn::Zero(kFloats)), value), most);
}

// Sums as a picture can hold them.
template <WeighedShape kShape>
HWY_INLINE Floats Cut(Floats sums) {
    const Floats most = hn::Set(kFloats, 255.0F);
    return CutTo(sums, hn::Mul(most, FactorOf<kShape>(CutTo(sums, most))));
}

template <WeighedShape kShape>
bool IsOpaque(const std::uint8_t* pixels, std::ptrdiff_t count) {
    constexpr int kChannels = ChannelsOf(kShape);
    constexpr std::ptrdiff_t kLanes = 4 * kFloatLanes;
    alignas(16) std::uint8_t colours[16];
    for (int i = 0; i < 16; ++i) colours[i] = i % kChannels == kChannels - 1 ? 0 : 255;
    const auto isColour = hn::LoadDup128(kBytes, colours), full = hn::Set(kBytes, 255);
    const std::ptrdiff_t bytes = count * kChannels;
    std::ptrdiff_t i = 0;
    for (; i + 4 * kLanes <= bytes; i += 4 * kLanes) {
        const auto a = hn::And(hn::LoadU(kBytes, pixels + i), hn::LoadU(kBytes, pixels + i + kLanes));
        const auto b = hn::And(hn::LoadU(kBytes, pixels + i + 2 * kLanes), hn::LoadU(kBytes, pixels + i + 3 * kLanes));
        if (!hn::AllTrue(kBytes, hn::Eq(hn::Or(hn::And(a, b), isColour), full))) return false;
    }
    for (i += kChannels - 1; i < bytes; i += kChannels) {
        if (pixels[i] != 255) return false;
    }
    return true;
}

// --- along rows -----------------------------------------------------------------------------------------------------

// So many floats of a column are worked on together: a pixel each of eight rows, or of sixteen.
constexpr int kColumnFloats = 32;
constexpr int kVectors = kColumnFloats / kFloatLanes;
constexpr int kWindow = 256;  // columns, besides those of two lists

// Lists that are worked on together, and the columns of the source that they take.
struct Section {
    int begin, end;
    int first, pastLast;
};

Section SectionFrom(const Taps& taps, int begin) {
    Section section = {begin, begin, 0, 0};
    for (; section.end < taps.count; ++section.end) {
        const TapList& list = taps.lists[section.end];
        if (list.taps == 0) continue;
        if (section.pastLast == 0) section.first = list.first;
        const std::int64_t pastLast = std::int64_t{list.first} + list.taps;
        if (pastLast - section.first > kWindow + 2 * std::int64_t{taps.stride}) break;
        if (pastLast > section.pastLast) section.pastLast = static_cast<int>(pastLast);
    }
    return section;
}

// Four bytes of each of some columns, one after the other, as floats into these columns of the window.
template <WeighedShape kShape, int kColumns>
HWY_INLINE void WidenQuads(const std::uint8_t* bytes, float* window) {
    constexpr int kAtOnce = kFloatLanes / 4;
    static_assert(kColumns % kAtOnce == 0);
    for (int i = 0; i < kColumns; i += kAtOnce) {
        const auto four = hn::PromoteTo(kInts, hn::LoadU(kBytesOfFloats, bytes + 4 * i));
        const Floats pixels = hn::ConvertTo(kFloats, four);
        const Floats product = hn::Mul(pixels, FactorOf<kShape>(pixels));
        float* const to = window + static_cast<std::ptrdiff_t>(i) * kColumnFloats;
#if HWY_TARGET == HWY_AVX2
        hn::Store(hn::LowerHalf(kQuad, product), kQuad, to);
        hn::Store(hn::UpperHalf(kQuad, product), kQuad, to + kColumnFloats);
#else
        hn::Store(product, kQuad, to);
#endif
    }
}

// One row of colours, or two of gray that lie side by side in the window.
template <WeighedShape kShape>
void WidenRow(const std::uint8_t* row, const std::uint8_t* next, std::ptrdiff_t columns, float* window) {
    constexpr int kChannels = ChannelsOf(kShape);
    std::ptrdiff_t x = 0;
    for (; x + 4 <= columns; x += 4, window += 4 * kColumnFloats) {
        if constexpr (kShape == kColoursByAlpha) {
            WidenQuads<kShape, 4>(row + x * kChannels, window);
        } else {
            std::uint8_t both[16] = {};
            std::memcpy(both, row + x * kChannels, 8);
            const auto a = hn::BitCast(kWords8, hn::LoadU(kBytes16, both));
            std::memcpy(both, next + x * kChannels, 8);
            const auto b = hn::BitCast(kWords8, hn::LoadU(kBytes16, both));
            hn::StoreU(hn::BitCast(kBytes16, hn::InterleaveLower(kWords8, a, b)), kBytes16, both);
            WidenQuads<kShape, 4>(both, window);
        }
    }
    const int left = static_cast<int>(columns - x);
    if (left == 0) return;
    std::uint8_t last[16] = {};
    for (int i = 0; i < 3; ++i) {
        if (i >= left) break;
        const std::ptrdiff_t at = (x + i) * kChannels;
        std::memcpy(last + 4 * i, row + at, kChannels);
        if (kChannels == 2) std::memcpy(last + 4 * i + 2, next + at, 2);
    }
    alignas(64) float widened[4 * kColumnFloats];
    WidenQuads<kShape, 4>(last, widened);
    for (int i = 0; i < 3; ++i) {
        if (i >= left) break;
        std::memcpy(window + i * kColumnFloats, widened + i * kColumnFloats, 4 * sizeof(float));
    }
}

HWY_INLINE void AddTaps(const float* sample, const float* shares, int taps, Floats (&sums)[kVectors]) {
    for (int k = 0; k < taps; ++k, sample += kColumnFloats) {
        const Floats share = hn::Set(kFloats, shares[k]);
        for (int v = 0; v < kVectors; ++v) {
            sums[v] = hn::Add(sums[v], hn::Mul(hn::Load(kFloats, sample + v * kFloatLanes), share));
        }
    }
}

// The rows from `row` on that four floats of a column are of.
template <WeighedShape kShape>
HWY_INLINE void StoreQuad(const WeighedBlock& block, int row, std::ptrdiff_t x, hn::Vec<decltype(kQuad)> quad) {
    if constexpr (kShape == kColoursByAlpha) {
        if (row < block.rows) hn::StoreU(quad, kQuad, block.dst[row] + 4 * x);
    } else {
        if (row < block.rows) hn::StoreU(hn::LowerHalf(kPair, quad), kPair, block.dst[row] + 2 * x);
        if (row + 1 < block.rows) hn::StoreU(hn::UpperHalf(kPair, quad), kPair, block.dst[row + 1] + 2 * x);
    }
}

template <WeighedShape kShape>
void AlongRows(const WeighedBlock& block) {
    constexpr int kRowsOfQuad = 4 / ChannelsOf(kShape), kRows = kColumnFloats / ChannelsOf(kShape);
    const Taps& taps = *block.taps;
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(block.scratch);
    float* const window = reinterpret_cast<float*>(block.scratch + (64 - address % 64) % 64);
    for (int firstRow = 0; firstRow < block.rows; firstRow += kRows) {
        for (Section section{}; section.end < taps.count;) {
            section = SectionFrom(taps, section.end);
            const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(section.first) * ChannelsOf(kShape);
            for (int r = 0; r < kRows && firstRow + r < block.rows; r += kRowsOfQuad) {
                const int row = firstRow + r, next = row + 1 < block.rows ? row + 1 : row;
                WidenRow<kShape>(block.src[row] + at, block.src[next] + at, section.pastLast - section.first,
                                 window + r / kRowsOfQuad * 4);
            }
            const float* shares = block.shares + static_cast<std::ptrdiff_t>(section.begin) * taps.stride;
            for (int x = section.begin; x < section.end; ++x, shares += taps.stride) {
                const TapList& list = taps.lists[x];
                const float* sample =
                    list.taps == 0 ? window
                                   : window + static_cast<std::ptrdiff_t>(list.first - section.first) * kColumnFloats;
                Floats sums[kVectors];
                for (Floats& sum : sums) sum = hn::Zero(kFloats);
                AddTaps(sample, shares, list.taps < kTapsInGroup ? list.taps : kTapsInGroup, sums);
                for (int group = kTapsInGroup; group < list.taps; group += kTapsInGroup) {
                    Floats more[kVectors];
                    for (Floats& sum : more) sum = hn::Zero(kFloats);
                    const int rest = list.taps - group;
                    AddTaps(sample + static_cast<std::ptrdiff_t>(group) * kColumnFloats, shares + group,
                            rest < kTapsInGroup ? rest : kTapsInGroup, more);
                    for (int v = 0; v < kVectors; ++v) sums[v] = hn::Add(sums[v], more[v]);
                }
                for (int v = 0; v < kVectors; ++v) {
                    const Floats pixels = sums[v];
                    const int row = firstRow + v * (kFloatLanes / 4) * kRowsOfQuad;
#if HWY_TARGET == HWY_AVX2
                    StoreQuad<kShape>(block, row, x, hn::LowerHalf(kQuad, pixels));
                    StoreQuad<kShape>(block, row + kRowsOfQuad, x, hn::UpperHalf(kQuad, pixels));
#else
                    StoreQuad<kShape>(block, row, x, pixels);
#endif
                }
            }
        }
    }
}

// --- rows one above the other ---------------------------------------------------------------------------------------

// The pixels as bytes.
template <WeighedShape kShape>
HWY_INLINE void StorePixels(Floats sums, std::uint8_t* bytes) {
    const Floats pixels = Cut<kShape>(sums), half = hn::Set(kFloats, 0.5F);
    const Floats colours = hn::Add(hn::Div(pixels, FactorOf<kShape>(pixels)), half);
    const Floats shown = hn::IfThenElseZero(hn::Ge(AlphaOf<kShape>(pixels), half), colours);
    hn::StoreU(hn::DemoteTo(kBytesOfFloats, hn::ConvertTo(kInts, shown)), kBytesOfFloats, bytes);
}

template <int kCount>
HWY_INLINE void AddRows(const WeighedStack& stack, int first, int end, std::ptrdiff_t at, Floats (&sums)[kCount]) {
    for (Floats& sum : sums) sum = hn::Zero(kFloats);
    for (int k = first; k < end; ++k) {
        const Floats share = hn::Set(kFloats, stack.shares[k]);
        const float* const row = stack.rows[k] + at;
        for (int v = 0; v < kCount; ++v) {
            sums[v] = hn::Add(sums[v], hn::Mul(hn::LoadU(kFloats, row + v * kFloatLanes), share));
        }
    }
}

template <int kCount>
HWY_INLINE void SumRows(const WeighedStack& stack, std::ptrdiff_t at, Floats (&sums)[kCount]) {
    AddRows(stack, 0, stack.taps < kTapsInGroup ? stack.taps : kTapsInGroup, at, sums);
    for (int group = kTapsInGroup; group < stack.taps; group += kTapsInGroup) {
        Floats more[kCount];
        AddRows(stack, group, stack.taps - group < kTapsInGroup ? stack.taps : group + kTapsInGroup, at, more);
        for (int v = 0; v < kCount; ++v) sums[v] = hn::Add(sums[v], more[v]);
    }
}

template <WeighedShape kShape>
void AcrossRows(const WeighedStack& stack) {
    constexpr int kCount = 8;
    const std::ptrdiff_t count = stack.count * ChannelsOf(kShape);
    std::ptrdiff_t i = 0;
    for (; i + kCount * kFloatLanes <= count; i += kCount * kFloatLanes) {
        Floats sums[kCount];
        SumRows(stack, i, sums);
        for (int v = 0; v < kCount; ++v) StorePixels<kShape>(sums[v], stack.dst + i + v * kFloatLanes);
    }
    for (; i < count; i += kFloatLanes) {
        Floats sums[1];
        SumRows(stack, i, sums);
        std::uint8_t bytes[kFloatLanes];
        StorePixels<kShape>(sums[0], bytes);
        const std::ptrdiff_t rest = count - i < kFloatLanes ? count - i : kFloatLanes;
        std::memcpy(stack.dst + i, bytes, static_cast<std::size_t>(rest));
    }
}

}  // namespace

void ZOR_TIER_FUNCTION(InitWeighed)(WeighedKernels* kernels) {
    *kernels = {{IsOpaque<kGrayByAlpha>, IsOpaque<kColoursByAlpha>},
                {AlongRows<kGrayByAlpha>, AlongRows<kColoursByAlpha>},
                {AcrossRows<kGrayByAlpha>, AcrossRows<kColoursByAlpha>}};
}

}  // namespace zor
