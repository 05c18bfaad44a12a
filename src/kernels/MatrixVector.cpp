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

// Taps are taken two at a time: their bytes are interleaved, so that one instruction multiplies both and adds the
// products.
struct TapPair {
    const std::uint8_t* first;
    const std::uint8_t* second;
    std::uint32_t weights;  // bytes first, second, first, second
};

// --- sums of 16 bits ------------------------------------------------------------------------------------------------

// Sums of products with weights of one byte. They may wrap on the way; what counts is that all weights above 0 add up
// to 128 at most, and all below to -128 at least: neither a pair nor the whole then leaves 16 bits.
struct WordSums {
    Shorts lower;  // of the lower eight bytes of each block of 16
    Shorts upper;
};

HWY_INLINE void AddPair(WordSums& sums, Bytes first, Bytes second, [[maybe_unused]] std::uint32_t weights) {
#if HWY_TARGET == HWY_AVX2
    const __m256i pair = _mm256_set1_epi32(static_cast<int>(weights));
    const __m256i lower = _mm256_maddubs_epi16(_mm256_unpacklo_epi8(first.raw, second.raw), pair);
    const __m256i upper = _mm256_maddubs_epi16(_mm256_unpackhi_epi8(first.raw, second.raw), pair);
    sums.lower = hn::Add(sums.lower, Shorts{lower});
    sums.upper = hn::Add(sums.upper, Shorts{upper});
#elif HWY_TARGET == HWY_SSE4
    const __m128i pair = _mm_set1_epi32(static_cast<int>(weights));
    const __m128i lower = _mm_maddubs_epi16(_mm_unpacklo_epi8(first.raw, second.raw), pair);
    const __m128i upper = _mm_maddubs_epi16(_mm_unpackhi_epi8(first.raw, second.raw), pair);
    sums.lower = hn::Add(sums.lower, Shorts{lower});
    sums.upper = hn::Add(sums.upper, Shorts{upper});
#else
    const Bytes zero = hn::Zero(kBytes);
    const Shorts firstWeight = hn::Set(kShorts, static_cast<std::int8_t>(weights & 255));
    const Shorts secondWeight = hn::Set(kShorts, static_cast<std::int8_t>(weights >> 8 & 255));
    const auto product = [&](Bytes words, Shorts weight) { return hn::Mul(hn::BitCast(kShorts, words), weight); };
    sums.lower = hn::Add(sums.lower, hn::Add(product(hn::InterleaveLower(kBytes, first, zero), firstWeight),
                                             product(hn::InterleaveLower(kBytes, second, zero), secondWeight)));
    sums.upper = hn::Add(sums.upper, hn::Add(product(hn::InterleaveUpper(kBytes, first, zero), firstWeight),
                                             product(hn::InterleaveUpper(kBytes, second, zero), secondWeight)));
#endif
}

// Of several vectors side by side, which share the loads of addresses and weights.
template <int kVectors>
HWY_INLINE void SumPairs(const TapPair* pair, const TapPair* end, std::ptrdiff_t at, WordSums (&sums)[kVectors]) {
    for (WordSums& each : sums) each = {hn::Zero(kShorts), hn::Zero(kShorts)};
    for (; pair != end; ++pair) {
        for (int v = 0; v < kVectors; ++v) {
            const std::ptrdiff_t there = at + v * kLanes;
            AddPair(sums[v], hn::LoadU(kBytes, pair->first + there), hn::LoadU(kBytes, pair->second + there),
                    pair->weights);
        }
    }
}

// Words cut to 0 to 255, as bytes in the order of the samples.
HWY_INLINE Bytes Packed(const WordSums& sums) {
#if HWY_TARGET == HWY_AVX2
    return Bytes{_mm256_packus_epi16(sums.lower.raw, sums.upper.raw)};
#elif HWY_TARGET == HWY_SSE4
    return Bytes{_mm_packus_epi16(sums.lower.raw, sums.upper.raw)};
#else
    const hn::Half<decltype(kBytes)> kHalfBytes;
    return hn::Combine(kBytes, hn::DemoteTo(kHalfBytes, sums.upper), hn::DemoteTo(kHalfBytes, sums.lower));
#endif
}

// --- sums of 32 bits ------------------------------------------------------------------------------------------------

// The sums of as many samples as a vector has bytes. Interleaving keeps to blocks of 16 bytes: part k holds samples 4 k
// to 4 k + 3 of each block.
struct Sums {
    Ints part[4];
};

// Where products are added up in two vectors, which are put together in the end, the second is `rest`.
struct PairSums {
    Ints part[4];
    Ints rest[4];
};

HWY_INLINE void AddTaps(PairSums& sums, Bytes first, Bytes second, Shorts weights) {
    const Bytes zero = hn::Zero(kBytes);
    const Bytes low = hn::InterleaveLower(kBytes, first, second), high = hn::InterleaveUpper(kBytes, first, second);
    const Bytes pairs[4] = {hn::InterleaveLower(kBytes, low, zero), hn::InterleaveUpper(kBytes, low, zero),
                            hn::InterleaveLower(kBytes, high, zero), hn::InterleaveUpper(kBytes, high, zero)};
    for (int k = 0; k < 4; ++k) {
        sums.part[k] =
            hn::ReorderWidenMulAccumulate(kInts, hn::BitCast(kShorts, pairs[k]), weights, sums.part[k], sums.rest[k]);
    }
}

HWY_INLINE void AddWords(Sums& sums, const WordSums& words) {
    const Shorts halves[2] = {words.lower, words.upper};
    for (int k = 0; k < 4; ++k) {
        const Shorts half = halves[k / 2];
        const Shorts twice =
            k % 2 ? hn::InterleaveUpper(kShorts, half, half) : hn::InterleaveLower(kShorts, half, half);
        sums.part[k] = hn::Add(sums.part[k], hn::ShiftRight<16>(hn::BitCast(kInts, twice)));
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

HWY_INLINE Ints Scaled(Ints sums, Doubles factor, Doubles bias) {
    const Doubles low = hn::Add(hn::Mul(hn::PromoteTo(kDoubles, hn::LowerHalf(sums)), factor), bias);
    const Doubles high = hn::Add(hn::Mul(hn::PromoteTo(kDoubles, hn::UpperHalf(kHalfInts, sums)), factor), bias);
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

// --- the plan -------------------------------------------------------------------------------------------------------

// The taps of a matrix in pairs, the last one with itself at no weight, in groups whose sums stay within 16 bits.
class Plan {
public:
    static constexpr int kMaxPairs = 160;  // as many as a matrix of 17 by 17 and more

    TapPair pairs[kMaxPairs];
    int groupEnd[kMaxPairs];  // the pair behind each group
    int groups = 0;
    std::int64_t least = 0, most = 0;  // of all sums

    // False where the matrix is too large or a weight does not fit a byte.
    bool MakeOfBytes(const MatrixTap* taps, int tapCount) {
        constexpr int kMostOfAGroup = 128;
        if (tapCount > 2 * kMaxPairs) return false;
        int positive = 0, negative = 0;
        for (int t = 0, pair = 0; t < tapCount; t += 2, ++pair) {
            const int first = taps[t].weight, second = t + 1 < tapCount ? taps[t + 1].weight : 0;
            if (first < -128 || first > 127 || second < -128 || second > 127) return false;
            const int above = (first > 0 ? first : 0) + (second > 0 ? second : 0), below = first + second - above;
            if (above > kMostOfAGroup || below < -kMostOfAGroup) return false;
            if (groups == 0 || positive + above > kMostOfAGroup || negative + below < -kMostOfAGroup) {
                ++groups;
                positive = negative = 0;
            }
            positive += above;
            negative += below;
            most += 255 * above;
            least += 255 * below;
            const std::uint32_t bytes =
                (static_cast<std::uint32_t>(second) & 255) << 8 | (static_cast<std::uint32_t>(first) & 255);
            pairs[pair] = {taps[t].samples, taps[t + 1 < tapCount ? t + 1 : t].samples, bytes << 16 | bytes};
            groupEnd[groups - 1] = pair + 1;
        }
        return true;
    }
    const TapPair* group(int g) const { return pairs + (g == 0 ? 0 : groupEnd[g - 1]); }
    const TapPair* end(int g) const { return pairs + groupEnd[g]; }

    // True where the sums are done with in 16 bits.
    bool FitsWords(const MatrixFinish& finish) const {
        const bool canScale = finish.scaleFactor == 1.0 || finish.wordScale.factor != 0;
        return groups == 1 && canScale && least + finish.delta >= -32768 && most + finish.delta <= 32767;
    }
};

// Weights that fit 16 bits; a pair of products then fits 32.
bool FitsPairs(const MatrixTap* taps, int tapCount) {
    for (int t = 0; t < tapCount; ++t) {
        if (taps[t].weight < -32768 || taps[t].weight > 32767) return false;
    }
    return true;
}

// --- the ways to go -------------------------------------------------------------------------------------------------

// Each gives back how many samples it has made.

template <int kVectors, bool kScales>
std::ptrdiff_t ByWords(const Plan& plan, const MatrixFinish& finish, std::ptrdiff_t done, std::ptrdiff_t count,
                       std::uint8_t* dst) {
    const hn::Repartition<std::uint16_t, decltype(kBytes)> kWords;
    const WordScale scale = finish.wordScale;
    const Shorts delta = hn::Set(kShorts, static_cast<std::int16_t>(finish.delta)), zero = hn::Zero(kShorts);
    const Shorts more = hn::Set(kShorts, static_cast<std::int16_t>(scale.more));
    const auto factor = hn::Set(kWords, scale.factor);
    const auto scaled = [&](Shorts sums) {
        const auto sum = hn::BitCast(kWords, hn::Add(hn::Max(hn::Add(sums, delta), zero), more));
        return hn::BitCast(kShorts, hn::ShiftRightSame(hn::MulHigh(sum, factor), scale.shift));
    };
    for (; done + kVectors * kLanes <= count; done += kVectors * kLanes) {
        WordSums sums[kVectors];
        SumPairs(plan.pairs, plan.end(0), done, sums);
        for (int v = 0; v < kVectors; ++v) {
            if constexpr (kScales) {
                sums[v] = {scaled(sums[v].lower), scaled(sums[v].upper)};
            } else {
                sums[v] = {hn::Add(sums[v].lower, delta), hn::Add(sums[v].upper, delta)};
            }
            hn::StoreU(Packed(sums[v]), kBytes, dst + done + v * kLanes);
        }
    }
    return done;
}

// For sums of 32 bits: sum(done) makes those of a vector.
template <class Sum>
std::ptrdiff_t ByInts(const MatrixFinish& finish, std::ptrdiff_t count, std::uint8_t* dst, Sum sum) {
    const Ints delta = hn::Set(kInts, finish.delta);
    const Doubles factor = hn::Set(kDoubles, finish.scaleFactor), bias = hn::Set(kDoubles, finish.bias);
    const bool scales = !(finish.scaleFactor == 1.0);  // not by finish.scales(), which other sources share
    std::ptrdiff_t done = 0;
    for (; done + kLanes <= count; done += kLanes) {
        Sums sums = sum(done);
        for (int k = 0; k < 4; ++k) {
            sums.part[k] = hn::Add(sums.part[k], delta);
            if (scales) sums.part[k] = Scaled(sums.part[k], factor, bias);
        }
        hn::StoreU(Packed(sums), kBytes, dst + done);
    }
    return done;
}

std::ptrdiff_t ByGroups(const Plan& plan, const MatrixFinish& finish, std::ptrdiff_t count, std::uint8_t* dst) {
    const Ints zero = hn::Zero(kInts);
    return ByInts(finish, count, dst, [&](std::ptrdiff_t done) {
        Sums sums{{zero, zero, zero, zero}};
        for (int g = 0; g < plan.groups; ++g) {
            WordSums words[1];
            SumPairs(plan.group(g), plan.end(g), done, words);
            AddWords(sums, words[0]);
        }
        return sums;
    });
}

std::ptrdiff_t ByWideWeights(const MatrixTap* taps, int tapCount, const MatrixFinish& finish, std::ptrdiff_t count,
                             std::uint8_t* dst) {
    const Ints zero = hn::Zero(kInts);
    return ByInts(finish, count, dst, [&](std::ptrdiff_t done) {
        PairSums sums{{zero, zero, zero, zero}, {zero, zero, zero, zero}};
        int t = 0;
        for (; t + 1 < tapCount; t += 2) {
            AddTaps(sums, hn::LoadU(kBytes, taps[t].samples + done), hn::LoadU(kBytes, taps[t + 1].samples + done),
                    WeightPair(taps[t].weight, taps[t + 1].weight));
        }
        if (t < tapCount) {
            AddTaps(sums, hn::LoadU(kBytes, taps[t].samples + done), hn::Zero(kBytes), WeightPair(taps[t].weight, 0));
        }
        Sums whole;
        for (int k = 0; k < 4; ++k) whole.part[k] = hn::RearrangeToOddPlusEven(sums.part[k], sums.rest[k]);
        return whole;
    });
}

void Convolve(const MatrixTap* taps, int tapCount, const MatrixFinish& given, std::ptrdiff_t count, std::uint8_t* dst) {
    const MatrixFinish finish = given;
    std::ptrdiff_t done = 0;
    Plan plan;
    if (count < kLanes || !FitsPairs(taps, tapCount)) {
        // one by one
    } else if (!plan.MakeOfBytes(taps, tapCount)) {
        done = ByWideWeights(taps, tapCount, finish, count, dst);
    } else if (!plan.FitsWords(finish)) {
        done = ByGroups(plan, finish, count, dst);
    } else if (finish.scaleFactor == 1.0) {
        done = ByWords<2, false>(plan, finish, 0, count, dst);
        done = ByWords<1, false>(plan, finish, done, count, dst);
    } else {
        done = ByWords<2, true>(plan, finish, 0, count, dst);
        done = ByWords<1, true>(plan, finish, done, count, dst);
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
