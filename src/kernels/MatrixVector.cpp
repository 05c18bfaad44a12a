#include "kernels/Matrix.h"
#include "kernels/Vector.h"

namespace zor {

namespace {

const hn::ScalableTag<std::uint8_t> kBytes;
const hn::Repartition<std::int16_t, decltype(kBytes)> kShorts;
const hn::Repartition<std::int32_t, decltype(kBytes)> kInts;
const hn::Repartition<double, decltype(kBytes)> kDoubles;
const hn::Rebind<std::int32_t, decltype(kDoubles)> kHalfInts;
using Bytes = hn::Vec<decltype(kBytes)>;
using Shorts = hn::Vec<decltype(kShorts)>;
using Ints = hn::Vec<decltype(kInts)>;
using Doubles = hn::Vec<decltype(kDoubles)>;
constexpr std::ptrdiff_t kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(hn::ScalableTag<std::uint8_t>()));

// The sums of as many samples as a vector has bytes. Interleaving keeps to blocks of 16 bytes: part k holds samples 4 k
// to 4 k + 3 of each block. Where products are added up in two vectors, the second is `rest`.
struct Sums {
    Ints part[4];
    Ints rest[4];
};

// Two taps at a time: their bytes are interleaved, so that one instruction multiplies both and adds the products.
HWY_INLINE void AddTaps(Sums& sums, Bytes first, Bytes second, Shorts weights) {
    const Bytes zero = hn::Zero(kBytes);
    const Bytes low = hn::InterleaveLower(kBytes, first, second), high = hn::InterleaveUpper(kBytes, first, second);
    const Bytes pairs[4] = {hn::InterleaveLower(kBytes, low, zero), hn::InterleaveUpper(kBytes, low, zero),
                            hn::InterleaveLower(kBytes, high, zero), hn::InterleaveUpper(kBytes, high, zero)};
    for (int k = 0; k < 4; ++k) {
        sums.part[k] =
            hn::ReorderWidenMulAccumulate(kInts, hn::BitCast(kShorts, pairs[k]), weights, sums.part[k], sums.rest[k]);
    }
}

HWY_INLINE Shorts WeightPair(int first, int second) {
    const std::uint32_t pair =
        (static_cast<std::uint32_t>(second) << 16) | (static_cast<std::uint32_t>(first) & 0xFFFFu);
    return hn::BitCast(kShorts, hn::Set(kInts, static_cast<std::int32_t>(pair)));
}

// Cut to 0 to 255 and truncated; not-a-number is 0.
HWY_INLINE hn::Vec<decltype(kHalfInts)> CutToByte(Doubles value) {
    const Doubles zero = hn::Zero(kDoubles), most = hn::Set(kDoubles, 255.0);
    const Doubles atLeast0 = hn::IfThenElseZero(hn::Gt(value, zero), value);
    return hn::DemoteTo(kHalfInts, hn::IfThenElse(hn::Lt(atLeast0, most), atLeast0, most));
}

HWY_INLINE Ints Scaled(Ints sums, Doubles factor) {
    const Doubles low = hn::Mul(hn::PromoteTo(kDoubles, hn::LowerHalf(sums)), factor);
    const Doubles high = hn::Mul(hn::PromoteTo(kDoubles, hn::UpperHalf(kHalfInts, sums)), factor);
    return hn::Combine(kInts, CutToByte(high), CutToByte(low));
}

// The even bytes of each block of words into its lower or upper half, 0 into the other.
alignas(16) constexpr std::uint8_t kToLower[16] = {0, 2, 4, 6, 8, 10, 12, 14, 128, 128, 128, 128, 128, 128, 128, 128};
alignas(16) constexpr std::uint8_t kToUpper[16] = {128, 128, 128, 128, 128, 128, 128, 128, 0, 2, 4, 6, 8, 10, 12, 14};

HWY_INLINE Bytes SaturatedWords(Ints a, Ints b) {
    const Shorts words = hn::ReorderDemote2To(kShorts, a, b);
    return hn::BitCast(kBytes, hn::Min(hn::Max(words, hn::Zero(kShorts)), hn::Set(kShorts, 255)));
}

HWY_INLINE Bytes Packed(const Sums& sums) {
    const Bytes lower = SaturatedWords(sums.part[0], sums.part[1]), upper = SaturatedWords(sums.part[2], sums.part[3]);
    return hn::Or(hn::TableLookupBytesOr0(lower, hn::LoadDup128(kBytes, kToLower)),
                  hn::TableLookupBytesOr0(upper, hn::LoadDup128(kBytes, kToUpper)));
}

// Weights that fit 16 bits; a pair of products then fits 32.
bool FitsPairs(const MatrixTap* taps, int tapCount) {
    for (int t = 0; t < tapCount; ++t) {
        if (taps[t].weight < -32768 || taps[t].weight > 32767) return false;
    }
    return true;
}

void Convolve(const MatrixTap* taps, int tapCount, const MatrixFinish& finish, std::ptrdiff_t count,
              std::uint8_t* dst) {
    std::ptrdiff_t done = 0;
    if (FitsPairs(taps, tapCount)) {
        const Ints delta = hn::Set(kInts, finish.delta), zero = hn::Zero(kInts);
        const Doubles factor = hn::Set(kDoubles, finish.scaleFactor);
        const bool scales = !(finish.scaleFactor == 1.0);
        for (; done + kLanes <= count; done += kLanes) {
            Sums sums{{zero, zero, zero, zero}, {zero, zero, zero, zero}};
            int t = 0;
            for (; t + 1 < tapCount; t += 2) {
                AddTaps(sums, hn::LoadU(kBytes, taps[t].samples + done), hn::LoadU(kBytes, taps[t + 1].samples + done),
                        WeightPair(taps[t].weight, taps[t + 1].weight));
            }
            if (t < tapCount) {
                AddTaps(sums, hn::LoadU(kBytes, taps[t].samples + done), hn::Zero(kBytes),
                        WeightPair(taps[t].weight, 0));
            }
            for (int k = 0; k < 4; ++k) {
                sums.part[k] = hn::Add(hn::RearrangeToOddPlusEven(sums.part[k], sums.rest[k]), delta);
                if (scales) sums.part[k] = Scaled(sums.part[k], factor);
            }
            hn::StoreU(Packed(sums), kBytes, dst + done);
        }
    }
    for (; done < count; ++done) {
        std::uint32_t sum = 0;
        for (int t = 0; t < tapCount; ++t) sum += taps[t].samples[done] * static_cast<std::uint32_t>(taps[t].weight);
        dst[done] = finish(sum);
    }
}

}  // namespace

void ZOR_TIER_FUNCTION(InitMatrix)(MatrixKernels* kernels) {
    kernels->convolve = Convolve;
}

}  // namespace zor
