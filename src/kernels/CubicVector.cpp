#include <cstring>

#include "kernels/Cubic.h"
#include "kernels/Vector.h"

namespace zor {

namespace {

// A block of 16 bytes holds what makes one sample; there are one or two of them in a vector.
const hn::CappedTag<std::uint8_t, 32> kBytes;
const hn::Repartition<std::int16_t, decltype(kBytes)> kShorts;
const hn::Repartition<std::int32_t, decltype(kBytes)> kInts;
const hn::Repartition<std::uint64_t, decltype(kBytes)> kLongs;
using Bytes = hn::Vec<decltype(kBytes)>;
using Shorts = hn::Vec<decltype(kShorts)>;
using Ints = hn::Vec<decltype(kInts)>;
constexpr int kSamples = static_cast<int>(hn::MaxLanes(hn::CappedTag<std::uint8_t, 32>())) / 16;

constexpr int kAcrossBits = 8, kDownBits = 2 * CubicWeights::kBits - kAcrossBits;

// Bytes of two neighbours as words, channel by channel: a0 0 b0 0 a1 0 b1 0 ... There are four pixels side by side.
template <int kChannels>
HWY_INLINE Bytes PairsFrom(int first) {
    alignas(16) std::uint8_t from[16];
    for (int i = 0; i < 16; ++i) from[i] = 0x80;  // gives 0
    for (int c = 0; c < kChannels; ++c) {
        from[4 * c] = static_cast<std::uint8_t>(first * kChannels + c);
        from[4 * c + 2] = static_cast<std::uint8_t>((first + 1) * kChannels + c);
    }
    return hn::LoadDup128(kBytes, from);
}

// What the samples of a vector begin with.
struct Samples {
    const std::uint8_t* row[kSamples];
    const std::int16_t* across[kSamples];
    const std::int16_t* down[kSamples];
};

#if HWY_TARGET == HWY_AVX2
const hn::FixedTag<std::uint8_t, 16> kBlock;
const hn::Repartition<std::uint64_t, decltype(kBlock)> kBlockLongs;

HWY_INLINE Bytes LoadRows(const Samples& samples, std::ptrdiff_t offset) {
    return hn::Combine(kBytes, hn::LoadU(kBlock, samples.row[1] + offset), hn::LoadU(kBlock, samples.row[0] + offset));
}

HWY_INLINE Ints LoadWeights(const std::int16_t* const (&weights)[kSamples]) {
    std::uint64_t four[kSamples];
    for (int i = 0; i < kSamples; ++i) std::memcpy(&four[i], weights[i], sizeof four[i]);
    return hn::BitCast(kInts, hn::Combine(kLongs, hn::Set(kBlockLongs, four[1]), hn::Set(kBlockLongs, four[0])));
}
#else
HWY_INLINE Bytes LoadRows(const Samples& samples, std::ptrdiff_t offset) {
    return hn::LoadU(kBytes, samples.row[0] + offset);
}

HWY_INLINE Ints LoadWeights(const std::int16_t* const (&weights)[kSamples]) {
    std::uint64_t four;
    std::memcpy(&four, weights[0], sizeof four);
    return hn::BitCast(kInts, hn::Set(kLongs, four));
}
#endif

// The sums of products of neighbours.
HWY_INLINE Ints Times(Shorts a, Shorts b) {
#if HWY_TARGET == HWY_AVX2
    return Ints{_mm256_madd_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_SSE4
    return Ints{_mm_madd_epi16(a.raw, b.raw)};
#else
    const Ints evenOfA = hn::ShiftRight<16>(hn::ShiftLeft<16>(hn::BitCast(kInts, a)));
    const Ints evenOfB = hn::ShiftRight<16>(hn::ShiftLeft<16>(hn::BitCast(kInts, b)));
    const Ints oddOfA = hn::ShiftRight<16>(hn::BitCast(kInts, a)), oddOfB = hn::ShiftRight<16>(hn::BitCast(kInts, b));
    return hn::Add(hn::Mul(evenOfA, evenOfB), hn::Mul(oddOfA, oddOfB));
#endif
}

// The words of two rows side by side, each rounded to what a word holds.
HWY_INLINE Shorts RowPair(Ints upper, Ints lower) {
    const Ints half = hn::Set(kInts, 1 << (kAcrossBits - 1));
    return hn::OddEven(hn::BitCast(kShorts, hn::ShiftLeft<16 - kAcrossBits>(hn::Add(lower, half))),
                       hn::BitCast(kShorts, hn::ShiftRight<kAcrossBits>(hn::Add(upper, half))));
}

// Channel by channel, as ints.
HWY_INLINE Ints Sampled(const Samples& samples, std::ptrdiff_t rowBytes, Bytes left, Bytes right) {
    const Ints across = LoadWeights(samples.across), down = LoadWeights(samples.down);
    const Shorts leftWeights = hn::BitCast(kShorts, hn::Broadcast<0>(across));
    const Shorts rightWeights = hn::BitCast(kShorts, hn::Broadcast<1>(across));
    const auto sumOf = [&](std::ptrdiff_t upperRow, Shorts weights, Ints sum) HWY_ATTR {
        const Bytes upper = LoadRows(samples, upperRow * rowBytes);
        const Bytes lower = LoadRows(samples, (upperRow + 1) * rowBytes);
        const auto across2 = [&](Bytes order, Shorts acrossWeights) HWY_ATTR {
            const auto of = [&](Bytes row) HWY_ATTR {
                return Times(hn::BitCast(kShorts, hn::TableLookupBytesOr0(row, order)), acrossWeights);
            };
            return RowPair(of(upper), of(lower));
        };
        sum = hn::Add(sum, Times(across2(left, leftWeights), weights));
        return hn::Add(sum, Times(across2(right, rightWeights), weights));
    };
    Ints sum = hn::Set(kInts, 1 << (kDownBits - 1));
    sum = sumOf(0, hn::BitCast(kShorts, hn::Broadcast<0>(down)), sum);
    sum = sumOf(2, hn::BitCast(kShorts, hn::Broadcast<1>(down)), sum);
    return hn::ShiftRight<kDownBits>(sum);
}

HWY_INLINE std::ptrdiff_t PhaseOf(std::int32_t place) {
    return place >> (CubicLine::kPlaceBits - CubicWeights::kPhaseBits) & (CubicWeights::kPhases - 1);
}

template <int kChannels>
void Line(const CubicLine& given, std::uint8_t* dst, std::ptrdiff_t count) {
    const CubicLine line = given;
    const Bytes left = PairsFrom<kChannels>(0), right = PairsFrom<kChannels>(2);
    const hn::Rebind<std::uint8_t, decltype(kInts)> kResult;
    std::int32_t x = line.x, y = line.y;
    for (std::ptrdiff_t i = 0; i < count; i += kSamples) {
        Samples samples;
        for (int s = 0; s < kSamples; ++s) {
            samples.across[s] = line.weights->weight[PhaseOf(x)];
            samples.down[s] = line.weights->weight[PhaseOf(y)];
            samples.row[s] = line.src + (y >> CubicLine::kPlaceBits) * line.rowBytes +
                             std::ptrdiff_t{x >> CubicLine::kPlaceBits} * kChannels;
            if (i + s + 1 >= count) continue;  // the last one again, for want of another
            x += line.dx;
            y += line.dy;
        }
        alignas(8) std::uint8_t bytes[4 * kSamples];
        hn::StoreU(hn::DemoteTo(kResult, Sampled(samples, line.rowBytes, left, right)), kResult, bytes);
        if (i + kSamples + 2 < count) {  // what is stored too much is stored over
            for (int s = 0; s < kSamples; ++s) std::memcpy(dst + s * kChannels, bytes + 4 * s, 4);
        } else {
            for (int s = 0; s < kSamples && i + s < count; ++s)
                std::memcpy(dst + s * kChannels, bytes + 4 * s, kChannels);
        }
        dst += kSamples * kChannels;
    }
}

}  // namespace

void ZOR_TIER_FUNCTION(InitCubic)(CubicKernels* kernels) {
    kernels->line[0] = Line<1>;
    kernels->line[1] = Line<2>;
    kernels->line[2] = Line<3>;
    kernels->line[3] = Line<4>;
}

}  // namespace zor
