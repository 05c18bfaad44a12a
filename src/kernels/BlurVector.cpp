#include "kernels/Blur.h"
#include "kernels/Vector.h"

namespace zor {

namespace {

const hn::ScalableTag<std::uint8_t> kBytes;
const hn::Repartition<std::uint16_t, decltype(kBytes)> kWords;
const hn::Repartition<std::uint32_t, decltype(kBytes)> kInts;
const hn::Repartition<std::uint64_t, decltype(kBytes)> kLongs;
const hn::Half<decltype(kBytes)> kHalfBytes;
const hn::Rebind<std::uint8_t, decltype(kInts)> kQuarterBytes;
using Bytes = hn::Vec<decltype(kBytes)>;
using Words = hn::Vec<decltype(kWords)>;
using Ints = hn::Vec<decltype(kInts)>;
constexpr std::ptrdiff_t kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(hn::ScalableTag<std::uint8_t>()));
constexpr std::ptrdiff_t kBlock = 16;  // the bytes of which most instructions move something only among themselves
constexpr int kBlocks = static_cast<int>(kLanes / kBlock);

// --- words and bytes ------------------------------------------------------------------------------------------------

// Words below 256 as bytes: each block holds those of the same block of `lower` and then those of `upper`.
HWY_INLINE Bytes BlockwiseBytes(Words lower, Words upper) {
#if HWY_TARGET == HWY_AVX2
    return Bytes{_mm256_packus_epi16(lower.raw, upper.raw)};
#elif HWY_TARGET == HWY_SSE4
    return Bytes{_mm_packus_epi16(lower.raw, upper.raw)};
#else
    return hn::ConcatEven(kBytes, hn::BitCast(kBytes, upper), hn::BitCast(kBytes, lower));
#endif
}

// The same in the order of memory.
HWY_INLINE Bytes OrderedBytes(Words first, Words second) {
#if HWY_TARGET == HWY_AVX2
    return Bytes{_mm256_permute4x64_epi64(_mm256_packus_epi16(first.raw, second.raw), 0xD8)};
#else
    return BlockwiseBytes(first, second);
#endif
}

// a - b as words, of the lower and of the upper bytes of each block.
HWY_INLINE void Subtract(Bytes a, Bytes b, Words& lower, Words& upper) {
#if HWY_TARGET == HWY_AVX2
    const __m256i signs = _mm256_set1_epi16(static_cast<short>(0xFF01));  // + 1 and - 1
    lower = Words{_mm256_maddubs_epi16(_mm256_unpacklo_epi8(a.raw, b.raw), signs)};
    upper = Words{_mm256_maddubs_epi16(_mm256_unpackhi_epi8(a.raw, b.raw), signs)};
#elif HWY_TARGET == HWY_SSE4
    const __m128i signs = _mm_set1_epi16(static_cast<short>(0xFF01));
    lower = Words{_mm_maddubs_epi16(_mm_unpacklo_epi8(a.raw, b.raw), signs)};
    upper = Words{_mm_maddubs_epi16(_mm_unpackhi_epi8(a.raw, b.raw), signs)};
#else
    const Bytes zero = hn::Zero(kBytes);
    lower = hn::Sub(hn::BitCast(kWords, hn::InterleaveLower(kBytes, a, zero)),
                    hn::BitCast(kWords, hn::InterleaveLower(kBytes, b, zero)));
    upper = hn::Sub(hn::BitCast(kWords, hn::InterleaveUpper(kBytes, a, zero)),
                    hn::BitCast(kWords, hn::InterleaveUpper(kBytes, b, zero)));
#endif
}

// One block from each of two places, where a vector has two; otherwise the first one.
HWY_INLINE Bytes LoadBlocks(const std::uint8_t* first, [[maybe_unused]] const std::uint8_t* second) {
#if HWY_TARGET == HWY_AVX2
    const hn::Half<decltype(kBytes)> kOne;
    return hn::Combine(kBytes, hn::LoadU(kOne, second), hn::LoadU(kOne, first));
#else
    return hn::LoadU(kBytes, first);
#endif
}
HWY_INLINE void StoreBlocks(Bytes bytes, std::uint8_t* first, [[maybe_unused]] std::uint8_t* second) {
#if HWY_TARGET == HWY_AVX2
    const hn::Half<decltype(kBytes)> kOne;
    hn::StoreU(hn::LowerHalf(kOne, bytes), kOne, first);
    hn::StoreU(hn::UpperHalf(kOne, bytes), kOne, second);
#else
    hn::StoreU(bytes, kBytes, first);
#endif
}

// --- division -------------------------------------------------------------------------------------------------------

// Dividends, which are sums + more, to quotients.
class NarrowQuotients {
public:
    HWY_INLINE explicit NarrowQuotients(const NarrowDivision& by)
        : factor_(hn::Set(kWords, by.factor)), shift_(hn::Set(kWords, static_cast<std::uint16_t>(65536 >> by.shift))) {}
    // The second product is a shift that takes one instruction.
    HWY_INLINE Words operator()(Words dividends) const { return hn::MulHigh(hn::MulHigh(dividends, factor_), shift_); }

private:
    Words factor_, shift_;
};

class WideQuotients {
public:
    HWY_INLINE explicit WideQuotients(const WideDivision& by) : factor_(hn::Set(kInts, by.factor)), shift_(by.shift) {}
    HWY_INLINE Ints operator()(Ints sums) const {
        const auto odd = hn::BitCast(kInts, hn::ShiftRight<32>(hn::BitCast(kLongs, sums)));
        const auto evens = hn::ShiftRightSame(hn::MulEven(sums, factor_), shift_);
        const auto odds = hn::ShiftRightSame(hn::MulEven(odd, factor_), shift_);
        return hn::BitCast(kInts, hn::Or(evens, hn::ShiftLeft<32>(odds)));
    }

private:
    Ints factor_;
    int shift_;
};

HWY_INLINE std::uint8_t Divided(std::uint16_t sum, const NarrowDivision& by) {
    const std::uint16_t dividend = static_cast<std::uint16_t>(sum + by.more);
    return static_cast<std::uint8_t>(((static_cast<std::uint32_t>(dividend) * by.factor) >> 16) >> by.shift);
}
HWY_INLINE std::uint8_t Divided(std::uint32_t sum, const WideDivision& by) {
    return static_cast<std::uint8_t>((sum * std::uint64_t{by.factor}) >> by.shift);
}

// Ints below 256 as bytes, in blocks of four: a block holds those of the same block of each vector in turn.
HWY_INLINE Bytes BlockwiseBytes(Ints a, Ints b, Ints c, Ints d) {
#if HWY_TARGET == HWY_AVX2
    return BlockwiseBytes(Words{_mm256_packus_epi32(a.raw, b.raw)}, Words{_mm256_packus_epi32(c.raw, d.raw)});
#elif HWY_TARGET == HWY_SSE4
    return BlockwiseBytes(Words{_mm_packus_epi32(a.raw, b.raw)}, Words{_mm_packus_epi32(c.raw, d.raw)});
#else
    return BlockwiseBytes(hn::ConcatEven(kWords, hn::BitCast(kWords, b), hn::BitCast(kWords, a)),
                          hn::ConcatEven(kWords, hn::BitCast(kWords, d), hn::BitCast(kWords, c)));
#endif
}

// --- sums down the columns ------------------------------------------------------------------------------------------

template <class Sum>
HWY_INLINE Sum Slid(Sum sum, std::uint8_t leaves, std::uint8_t enters) {
    return static_cast<Sum>(sum + static_cast<std::uint32_t>(enters) - static_cast<std::uint32_t>(leaves));
}

void AddNarrow(std::uint16_t* sums, const std::uint8_t* bytes, std::ptrdiff_t count, std::uint32_t times) {
    constexpr std::ptrdiff_t kStep = kLanes / 2;
    const Words factor = hn::Set(kWords, static_cast<std::uint16_t>(times));
    std::ptrdiff_t i = 0;
    for (; i + kStep <= count; i += kStep) {
        const Words words = hn::PromoteTo(kWords, hn::LoadU(kHalfBytes, bytes + i));
        hn::StoreU(hn::Add(hn::LoadU(kWords, sums + i), hn::Mul(words, factor)), kWords, sums + i);
    }
    for (; i < count; ++i) sums[i] = static_cast<std::uint16_t>(sums[i] + times * bytes[i]);
}

void AddWide(std::uint32_t* sums, const std::uint8_t* bytes, std::ptrdiff_t count, std::uint32_t times) {
    constexpr std::ptrdiff_t kStep = kLanes / 4;
    const Ints factor = hn::Set(kInts, times);
    std::ptrdiff_t i = 0;
    for (; i + kStep <= count; i += kStep) {
        const Ints ints = hn::PromoteTo(kInts, hn::LoadU(kQuarterBytes, bytes + i));
        hn::StoreU(hn::Add(hn::LoadU(kInts, sums + i), hn::Mul(ints, factor)), kInts, sums + i);
    }
    for (; i < count; ++i) sums[i] += times * bytes[i];
}

HWY_INLINE Words LoadWords(const std::uint8_t* bytes) {
    return hn::PromoteTo(kWords, hn::LoadU(kHalfBytes, bytes));
}

void DownNarrow(std::uint16_t* sums, const std::uint8_t* leaves, const std::uint8_t* enters, std::ptrdiff_t count,
                const NarrowDivision& by, std::uint8_t* bytes) {
    constexpr std::ptrdiff_t kHalf = kLanes / 2;
    const NarrowDivision local = by;
    const NarrowQuotients quotients(local);
    const Words more = hn::Set(kWords, local.more);
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const Words first = hn::LoadU(kWords, sums + i), second = hn::LoadU(kWords, sums + i + kHalf);
        const Words firstChange = hn::Sub(LoadWords(enters + i), LoadWords(leaves + i));
        const Words secondChange = hn::Sub(LoadWords(enters + i + kHalf), LoadWords(leaves + i + kHalf));
        hn::StoreU(OrderedBytes(quotients(hn::Add(first, more)), quotients(hn::Add(second, more))), kBytes, bytes + i);
        hn::StoreU(hn::Add(first, firstChange), kWords, sums + i);
        hn::StoreU(hn::Add(second, secondChange), kWords, sums + i + kHalf);
    }
    for (; i < count; ++i) {
        bytes[i] = Divided(sums[i], local);
        sums[i] = Slid(sums[i], leaves[i], enters[i]);
    }
}

void DownWide(std::uint32_t* sums, const std::uint8_t* leaves, const std::uint8_t* enters, std::ptrdiff_t count,
              const WideDivision& by, std::uint8_t* bytes) {
    constexpr std::ptrdiff_t kQuarter = kLanes / 4;
    const WideDivision local = by;
    const WideQuotients quotients(local);
    std::ptrdiff_t i = 0;
    for (; i + kQuarter <= count; i += kQuarter) {
        const Ints sum = hn::LoadU(kInts, sums + i);
        const Ints entering = hn::PromoteTo(kInts, hn::LoadU(kQuarterBytes, enters + i));
        const Ints leaving = hn::PromoteTo(kInts, hn::LoadU(kQuarterBytes, leaves + i));
        hn::StoreU(hn::U8FromU32(quotients(sum)), kQuarterBytes, bytes + i);
        hn::StoreU(hn::Add(sum, hn::Sub(entering, leaving)), kInts, sums + i);
    }
    for (; i < count; ++i) {
        bytes[i] = Divided(sums[i], local);
        sums[i] = Slid(sums[i], leaves[i], enters[i]);
    }
}

// --- sums along a row -----------------------------------------------------------------------------------------------

// The sums of a pixel are those of the one before and what that one changes, so a vector of sums is made of the
// changes, each added to those a pixel further and further on, and of the last pixel before the vector. A vector with
// two blocks goes along the row in two places: from the first pixel to the middle, and from there to the last.

// Where each lane of a block of kLanesOfBlock sums finds the sum of its channel among the last `count` ones, as indices
// of bytes.
template <int kLanesOfBlock>
HWY_INLINE Bytes LastPixel(int count) {
    constexpr int kSize = 16 / kLanesOfBlock;
    alignas(16) std::uint8_t index[16];
    for (int i = 0; i < 16; ++i) {
        const int lane = kLanesOfBlock - count + i / kSize % count;
        index[i] = static_cast<std::uint8_t>(lane * kSize + i % kSize);
    }
    return hn::LoadDup128(kBytes, index);
}

// Sums of sixteen bits: a block has 8 of them.
template <int kCount>
class NarrowChain {
public:
    using Sum = std::uint16_t;

    // Begins behind a pixel with these sums, by block.
    HWY_INLINE NarrowChain(const std::uint32_t (*sums)[ChannelSet::kMax], const NarrowDivision& by) : quotients_(by) {
        alignas(64) std::uint16_t lanes[8 * kBlocks] = {};
        for (int b = 0; b < kBlocks; ++b) {
            for (int c = 0; c < kCount; ++c) {
                lanes[8 * b + 8 - kCount + c] = static_cast<std::uint16_t>(sums[b][c] + by.more);
            }
        }
        last_ = hn::Load(kWords, lanes);
        more_ = by.more;
        lastPixel_ = LastPixel<8>(kCount);
    }
    // The quotients behind sixteen changes.
    HWY_INLINE Bytes operator()(Bytes enters, Bytes leaves) {
        Words lower, upper;
        Subtract(enters, leaves, lower, upper);
        lower = Next(lower);
        upper = Next(upper);
        return BlockwiseBytes(quotients_(lower), quotients_(upper));
    }
    // The last sums of a block, in the order of samples.
    void LastSums(int block, Sum* sums) const {
        alignas(64) std::uint16_t lanes[8 * kBlocks];
        hn::Store(last_, kWords, lanes);
        for (int c = 0; c < kCount; ++c) sums[c] = static_cast<Sum>(lanes[8 * block + 8 - kCount + c] - more_);
    }

private:
    HWY_INLINE Words Next(Words changes) {
        changes = hn::Add(changes, hn::ShiftLeftLanes<kCount>(kWords, changes));
        if constexpr (2 * kCount < 8) changes = hn::Add(changes, hn::ShiftLeftLanes<2 * kCount>(kWords, changes));
        if constexpr (4 * kCount < 8) changes = hn::Add(changes, hn::ShiftLeftLanes<4 * kCount>(kWords, changes));
        const Bytes before = hn::TableLookupBytes(hn::BitCast(kBytes, last_), lastPixel_);
        last_ = hn::Add(changes, hn::BitCast(kWords, before));
        return last_;
    }

    NarrowQuotients quotients_;
    Words last_;  // sums + more
    Bytes lastPixel_;
    std::uint16_t more_;
};

// Sums of 32 bits: a block has 4 of them, so that a pixel of five channels reaches back into the block before the last.
template <int kCount>
class WideChain {
public:
    using Sum = std::uint32_t;

    HWY_INLINE WideChain(const std::uint32_t (*sums)[ChannelSet::kMax], const WideDivision& by) : quotients_(by) {
        alignas(64) std::uint32_t early[4 * kBlocks] = {}, late[4 * kBlocks] = {};
        for (int b = 0; b < kBlocks; ++b) {
            for (int c = 0; c < kCount; ++c) {
                const int lane = 8 - kCount + c;
                (lane < 4 ? early : late)[4 * b + lane % 4] = sums[b][c];
            }
        }
        lastButOne_ = hn::Load(kInts, early);
        last_ = hn::Load(kInts, late);
        lastPixel_ = LastPixel<4>(kCount);
    }
    HWY_INLINE Bytes operator()(Bytes enters, Bytes leaves) {
        Words lower, upper;
        Subtract(enters, leaves, lower, upper);
        const Ints a = quotients_(Next(FirstFour(lower))), b = quotients_(Next(LastFour(lower)));
        const Ints c = quotients_(Next(FirstFour(upper))), d = quotients_(Next(LastFour(upper)));
        return BlockwiseBytes(a, b, c, d);
    }
    void LastSums(int block, Sum* sums) const {
        alignas(64) std::uint32_t early[4 * kBlocks], late[4 * kBlocks];
        hn::Store(lastButOne_, kInts, early);
        hn::Store(last_, kInts, late);
        for (int c = 0; c < kCount; ++c) {
            const int lane = 8 - kCount + c;
            sums[c] = (lane < 4 ? early : late)[4 * block + lane % 4];
        }
    }

private:
    // Words with their signs as ints.
    static HWY_INLINE Ints FirstFour(Words changes) {
        const hn::RebindToSigned<decltype(kInts)> kSigned;
        const Ints twice = hn::BitCast(kInts, hn::InterleaveLower(kWords, changes, changes));
        return hn::BitCast(kInts, hn::ShiftRight<16>(hn::BitCast(kSigned, twice)));
    }
    static HWY_INLINE Ints LastFour(Words changes) {
        const hn::RebindToSigned<decltype(kInts)> kSigned;
        const Ints twice = hn::BitCast(kInts, hn::InterleaveUpper(kWords, changes, changes));
        return hn::BitCast(kInts, hn::ShiftRight<16>(hn::BitCast(kSigned, twice)));
    }
    // The sums of the pixel before, as they are needed in each lane.
    HWY_INLINE Ints Before() const {
        if constexpr (kCount == 5) return hn::CombineShiftRightBytes<12>(kInts, last_, lastButOne_);
        if constexpr (kCount == 4) return last_;
        return hn::BitCast(kInts, hn::TableLookupBytes(hn::BitCast(kBytes, last_), lastPixel_));
    }
    HWY_INLINE Ints Next(Ints changes) {
        if constexpr (kCount < 4) changes = hn::Add(changes, hn::ShiftLeftLanes<kCount>(kInts, changes));
        if constexpr (kCount < 2) changes = hn::Add(changes, hn::ShiftLeftLanes<2 * kCount>(kInts, changes));
        const Ints sums = hn::Add(changes, Before());
        lastButOne_ = last_;
        last_ = sums;
        return sums;
    }

    WideQuotients quotients_;
    Ints lastButOne_, last_;
    Bytes lastPixel_;
};

// From pixel `first` of the row to the one before `end`, by the sums of the last pixel before `done` samples behind it.
template <int kCount, class Sum, class Division>
void FinishRow(const SlidingRow& row, std::ptrdiff_t first, std::ptrdiff_t end, std::ptrdiff_t done, Sum* sums,
               const Division& by, std::uint8_t* bytes) {
    const std::ptrdiff_t start = first * kCount, changes = (end - first - 1) * kCount;
    int next = 0;
    for (std::ptrdiff_t i = done; i < changes; ++i) {
        sums[next] = Slid(sums[next], row.leaves[start + i], row.enters[start + i]);
        bytes[start + kCount + i] = Divided(sums[next], by);
        if (++next == kCount) next = 0;
    }
}

template <int kCount, class Chain, class Division>
void Along(const SlidingRow& row, const Division& given, std::uint8_t* bytes) {
    const Division by = given;
    const std::ptrdiff_t middle = kBlocks == 2 ? row.count / 2 : 0;
    std::uint32_t sums[2][ChannelSet::kMax] = {};
    for (int c = 0; c < kCount; ++c) {
        sums[0][c] = row.first[c];
        sums[1][c] = row.middle[c];
        bytes[c] = Divided(static_cast<typename Chain::Sum>(sums[0][c]), by);
        bytes[middle * kCount + c] = Divided(static_cast<typename Chain::Sum>(sums[kBlocks - 1][c]), by);
    }
    Chain chain(sums, by);
    // The first part is never the longer one.
    const std::ptrdiff_t changes = ((kBlocks == 2 ? middle : row.count) - 1) * kCount, second = middle * kCount;
    std::ptrdiff_t i = 0;
    for (; i + kBlock <= changes; i += kBlock) {
        const Bytes quotients = chain(LoadBlocks(row.enters + i, row.enters + second + i),
                                      LoadBlocks(row.leaves + i, row.leaves + second + i));
        StoreBlocks(quotients, bytes + kCount + i, bytes + second + kCount + i);
    }
    for (int b = 0; b < kBlocks; ++b) {
        typename Chain::Sum last[kCount];
        chain.LastSums(b, last);
        FinishRow<kCount>(row, b == 0 ? 0 : middle, b == kBlocks - 1 ? row.count : middle, i, last, by, bytes);
    }
}

template <int kCount>
void AlongNarrow(const SlidingRow& row, const NarrowDivision& by, std::uint8_t* bytes) {
    Along<kCount, NarrowChain<kCount>>(row, by, bytes);
}
template <int kCount>
void AlongWide(const SlidingRow& row, const WideDivision& by, std::uint8_t* bytes) {
    Along<kCount, WideChain<kCount>>(row, by, bytes);
}

// --- sums of three --------------------------------------------------------------------------------------------------

// In the order that is told, number by number; only the bytes are many at a time.
void Taps(const TapRows& given, std::ptrdiff_t count, const ThreeTaps& taps, std::uint8_t* dst) {
    const hn::Repartition<double, decltype(kBytes)> kDoubles;
    const hn::RebindToSigned<decltype(kInts)> kSigned;
    const hn::Half<decltype(kSigned)> kHalfInts;
    constexpr std::ptrdiff_t kStep = kLanes / 4;
    const TapRows rows = given;
    const double weightOfTaps = taps.neighbourWeight, normOfTaps = taps.norm;
    const auto weight = hn::Set(kDoubles, weightOfTaps), norm = hn::Set(kDoubles, normOfTaps);
    const auto tapped = [&](auto samples, auto neighbours) {
        const auto sum =
            hn::Add(hn::PromoteTo(kDoubles, samples), hn::Mul(hn::PromoteTo(kDoubles, neighbours), weight));
        return hn::DemoteTo(kHalfInts, hn::Mul(sum, norm));
    };
    std::ptrdiff_t i = 0;
    for (; i + kStep <= count; i += kStep) {
        const auto samples = hn::PromoteTo(kSigned, hn::LoadU(kQuarterBytes, rows.row + i));
        const auto neighbours = hn::Add(hn::PromoteTo(kSigned, hn::LoadU(kQuarterBytes, rows.before + i)),
                                        hn::PromoteTo(kSigned, hn::LoadU(kQuarterBytes, rows.after + i)));
        const auto lower = tapped(hn::LowerHalf(samples), hn::LowerHalf(neighbours));
        const auto upper = tapped(hn::UpperHalf(kHalfInts, samples), hn::UpperHalf(kHalfInts, neighbours));
        const Ints result = hn::BitCast(kInts, hn::Combine(kSigned, upper, lower));
        hn::StoreU(hn::U8FromU32(result), kQuarterBytes, dst + i);
    }
    for (; i < count; ++i) {
        const int neighbours = rows.before[i] + rows.after[i];
        dst[i] = static_cast<std::uint8_t>(static_cast<int>((rows.row[i] + neighbours * weightOfTaps) * normOfTaps));
    }
}

void TapsByRule(const TapRows& given, std::ptrdiff_t count, const TapRule& rule, std::uint8_t* dst) {
    const TapRows rows = given;
    const NarrowDivision by = rule.division;
    const NarrowQuotients quotients(by);
    const Bytes zero = hn::Zero(kBytes);
    const Words more = hn::Set(kWords, by.more);
    const std::uint16_t weightOfRule = rule.weight, neighbourWeight = rule.neighbourWeight;
    const Words weight = hn::Set(kWords, weightOfRule), weightBeside = hn::Set(kWords, neighbourWeight);
    const auto tapped = [&](Words sample, Words before, Words after) {
        const Words beside = hn::Mul(hn::Add(before, after), weightBeside);
        return quotients(hn::Add(hn::Add(hn::Mul(sample, weight), beside), more));
    };
    const auto lower = [&](Bytes bytes) { return hn::BitCast(kWords, hn::InterleaveLower(kBytes, bytes, zero)); };
    const auto upper = [&](Bytes bytes) { return hn::BitCast(kWords, hn::InterleaveUpper(kBytes, bytes, zero)); };
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const Bytes row = hn::LoadU(kBytes, rows.row + i);
        const Bytes before = hn::LoadU(kBytes, rows.before + i), after = hn::LoadU(kBytes, rows.after + i);
        hn::StoreU(BlockwiseBytes(tapped(lower(row), lower(before), lower(after)),
                                  tapped(upper(row), upper(before), upper(after))),
                   kBytes, dst + i);
    }
    for (; i < count; ++i) {
        const int sum = rows.row[i] * weightOfRule + (rows.before[i] + rows.after[i]) * neighbourWeight;
        dst[i] = Divided(static_cast<std::uint16_t>(sum), by);
    }
}

// --- sharpening -----------------------------------------------------------------------------------------------------

// Sums of words below 0 and above 255 included: cut when they become bytes.
class Sharpener {
public:
    HWY_INLINE explicit Sharpener(const SharpenRule& rule)
        : whole_(hn::Set(kWords, rule.whole[0])),
          part_(hn::Set(kWords, rule.part[0])),
          otherWhole_(hn::Set(kWords, static_cast<std::uint16_t>(rule.whole[0] ^ rule.whole[1]))),
          otherPart_(hn::Set(kWords, static_cast<std::uint16_t>(rule.part[0] ^ rule.part[1]))),
          threshold_(hn::Set(kBytes, rule.threshold)) {}
    HWY_INLINE Bytes operator()(Bytes a, Bytes b) const {
        const Bytes zero = hn::Zero(kBytes);
        const Bytes fall = hn::SaturatedSub(b, a), distance = hn::Or(hn::SaturatedSub(a, b), fall);
        const Bytes below = hn::VecFromMask(kBytes, hn::Ne(fall, zero));
        const Words lower = Sharp(hn::BitCast(kWords, hn::InterleaveLower(kBytes, distance, zero)),
                                  hn::BitCast(kWords, hn::InterleaveLower(kBytes, below, below)),
                                  hn::BitCast(kWords, hn::InterleaveLower(kBytes, b, zero)));
        const Words upper = Sharp(hn::BitCast(kWords, hn::InterleaveUpper(kBytes, distance, zero)),
                                  hn::BitCast(kWords, hn::InterleaveUpper(kBytes, below, below)),
                                  hn::BitCast(kWords, hn::InterleaveUpper(kBytes, b, zero)));
        const auto passes = hn::Eq(hn::Max(distance, threshold_), distance);
        return hn::IfThenElse(passes, CutBytes(lower, upper), a);
    }

private:
    // Turning all bits over makes a product its opposite, less 1: what is wanted below b.
    HWY_INLINE Words Sharp(Words distance, Words below, Words b) const {
        const Words whole = hn::Xor(whole_, hn::And(otherWhole_, below));
        const Words part = hn::Xor(part_, hn::And(otherPart_, below));
        const Words product = hn::Add(hn::Mul(distance, whole), hn::MulHigh(distance, part));
        const hn::RebindToSigned<decltype(kWords)> kSigned;
        const Words change = hn::Xor(product, below);
        return hn::BitCast(kWords, hn::SaturatedAdd(hn::BitCast(kSigned, b), hn::BitCast(kSigned, change)));
    }
    // Signed words cut to 0 to 255, by block.
    static HWY_INLINE Bytes CutBytes(Words lower, Words upper) {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_SSE4
        return BlockwiseBytes(lower, upper);  // which cuts them
#else
        const hn::RebindToSigned<decltype(kWords)> kSigned;
        return hn::Combine(kBytes, hn::DemoteTo(kHalfBytes, hn::BitCast(kSigned, upper)),
                           hn::DemoteTo(kHalfBytes, hn::BitCast(kSigned, lower)));
#endif
    }

    Words whole_, part_, otherWhole_, otherPart_;
    Bytes threshold_;
};

void Sharpen(const std::uint8_t* src, std::ptrdiff_t count, const SharpenRule& given, std::uint8_t* dst) {
    const SharpenRule rule = given;
    const Sharpener sharpener(rule);
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        hn::StoreU(sharpener(hn::LoadU(kBytes, dst + i), hn::LoadU(kBytes, src + i)), kBytes, dst + i);
    }
    for (; i < count; ++i) {
        const int a = dst[i], b = src[i], side = a < b, distance = side ? b - a : a - b;
        const int product = distance * rule.whole[side] + ((distance * rule.part[side]) >> 16);
        const int sharp = side ? b - product - 1 : b + product;
        if (distance >= rule.threshold) dst[i] = static_cast<std::uint8_t>(sharp < 0 ? 0 : sharp > 255 ? 255 : sharp);
    }
}

}  // namespace

void ZOR_TIER_FUNCTION(InitBlur)(BlurKernels* kernels) {
    kernels->narrow = {
        AddNarrow, DownNarrow, {AlongNarrow<1>, AlongNarrow<2>, AlongNarrow<3>, AlongNarrow<4>, AlongNarrow<5>}};
    kernels->taps = Taps;
    kernels->tapsByRule = TapsByRule;
    kernels->sharpen = Sharpen;
    kernels->wide = {AddWide, DownWide, {AlongWide<1>, AlongWide<2>, AlongWide<3>, AlongWide<4>, AlongWide<5>}};
}

}  // namespace zor
