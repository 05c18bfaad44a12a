#include "kernels/Scaling.h"

#include <cstring>

#include "kernels/Vector.h"

// Sums of integers first, with the proof that IntegerForm gives; what they leave open is settled by the fine integers,
// and the few samples within a millionth of the next byte by the sum in double precision that defines them. Samples of
// flat spans lie right on a byte, where no approximation proves anything, so they are told by their being flat.

namespace zor {

namespace {

const hn::ScalableTag<std::uint8_t> kBytes;
const hn::ScalableTag<std::int16_t> kShorts;
const hn::ScalableTag<std::int32_t> kInts;
const hn::ScalableTag<double> kDoubles;
using Bytes = hn::Vec<decltype(kBytes)>;
using Shorts = hn::Vec<decltype(kShorts)>;
using Ints = hn::Vec<decltype(kInts)>;
using Doubles = hn::Vec<decltype(kDoubles)>;
constexpr int kByteLanes = static_cast<int>(hn::MaxLanes(hn::ScalableTag<std::uint8_t>()));
constexpr int kIntLanes = kByteLanes / 4;

// --- arithmetic -----------------------------------------------------------------------------------------------------

// sum + a * b for pairs of 16 bits.
HWY_INLINE Ints AddProducts(Ints sum, Shorts a, Shorts b) {
#if HWY_TARGET == HWY_NEON
    const int32x4_t lower = vmull_s16(vget_low_s16(a.raw), vget_low_s16(b.raw));
    return Ints(vaddq_s32(sum.raw, vpaddq_s32(lower, vmull_high_s16(a.raw, b.raw))));
#else
    Ints unused = sum;
    return hn::ReorderWidenMulAccumulate(kInts, a, b, sum, unused);
#endif
}

// Both cut to what fits; within each 128 bits, a before b.
HWY_INLINE Shorts ToShorts(Ints a, Ints b) {
    return hn::ReorderDemote2To(kShorts, a, b);
}
HWY_INLINE Bytes ToBytes(Shorts a, Shorts b) {
#if HWY_TARGET == HWY_NEON
    return Bytes(vcombine_u8(vqmovun_s16(a.raw), vqmovun_s16(b.raw)));
#elif HWY_TARGET == HWY_AVX2
    return Bytes{_mm256_packus_epi16(a.raw, b.raw)};
#else
    return Bytes{_mm_packus_epi16(a.raw, b.raw)};
#endif
}

// Two neighbouring weights, for all lanes.
HWY_INLINE Shorts PairOfWeights(const std::int16_t* weights) {
    std::int32_t both;
    std::memcpy(&both, weights, sizeof both);
    return hn::BitCast(kShorts, hn::Set(kInts, both));
}

HWY_INLINE std::int32_t HalfOf(const Taps& taps, const IntegerForm& form) {
    return taps.ending == Ending::nearest && form.usable ? std::int32_t{1} << (form.shift - 1) : 0;
}

// Where the fine integers leave the sum whose coarse one, with the half of the ending in it, is `coarse`.
struct Ends {
    Ints low, high;
};
HWY_INLINE Ends FineEnds(Ints coarse, Ints fine, const IntegerForm& form) {
    const Ints fraction = hn::And(coarse, hn::Set(kInts, (std::int32_t{1} << form.shift) - 1));
    const Ints whole = hn::ShiftRightSame(coarse, form.shift);
    const Ints sum = hn::Add(hn::ShiftLeftSame(fraction, form.fineShift), fine);
    const Ints bound = hn::Set(kInts, form.fineBound);
    const int shift = form.shift + form.fineShift;
    return {hn::Add(whole, hn::ShiftRightSame(hn::Sub(sum, bound), shift)),
            hn::Add(whole, hn::ShiftRightSame(hn::Add(sum, bound), shift))};
}

// A quotient as a byte, as ScaledByte.
HWY_INLINE Doubles EndOfSum(Doubles sum, Doubles weightSum, Ending ending) {
    const Doubles quotient = hn::Div(sum, weightSum);
    const Doubles value = ending == Ending::nearest ? hn::Add(quotient, hn::Set(kDoubles, 0.5)) : quotient;
    const Doubles atLeast0 = hn::IfThenElseZero(hn::Gt(value, hn::Zero(kDoubles)), value);
    return hn::Min(atLeast0, hn::Set(kDoubles, 255.0));
}

constexpr hn::Half<decltype(kInts)> kHalfInts;

HWY_INLINE Doubles LowerDoubles(Ints ints) {
    return hn::PromoteTo(kDoubles, hn::LowerHalf(kHalfInts, ints));
}
HWY_INLINE Doubles UpperDoubles(Ints ints) {
    return hn::PromoteTo(kDoubles, hn::UpperHalf(kHalfInts, ints));
}
HWY_INLINE Ints ToInts(Doubles lower, Doubles upper) {
    return hn::Combine(kInts, hn::DemoteTo(kHalfInts, upper), hn::DemoteTo(kHalfInts, lower));
}

// The transpose of 8 by 8 values of 16 bits, in every 128 bits by itself.
HWY_INLINE void Transpose(Shorts (&v)[8]) {
    const hn::Repartition<std::int64_t, decltype(kShorts)> kLongs;
    Ints quarter[8];
    for (int half = 0; half < 2; ++half) {
        Shorts* const r = v + 4 * half;
        const Ints a = hn::BitCast(kInts, hn::InterleaveLower(kShorts, r[0], r[1]));
        const Ints b = hn::BitCast(kInts, hn::InterleaveUpper(kShorts, r[0], r[1]));
        const Ints c = hn::BitCast(kInts, hn::InterleaveLower(kShorts, r[2], r[3]));
        const Ints d = hn::BitCast(kInts, hn::InterleaveUpper(kShorts, r[2], r[3]));
        quarter[4 * half + 0] = hn::InterleaveLower(kInts, a, c);
        quarter[4 * half + 1] = hn::InterleaveUpper(kInts, a, c);
        quarter[4 * half + 2] = hn::InterleaveLower(kInts, b, d);
        quarter[4 * half + 3] = hn::InterleaveUpper(kInts, b, d);
    }
    for (int i = 0; i < 4; ++i) {
        const auto upper = hn::BitCast(kLongs, quarter[i]), lower = hn::BitCast(kLongs, quarter[4 + i]);
        v[2 * i] = hn::BitCast(kShorts, hn::InterleaveLower(kLongs, upper, lower));
        v[2 * i + 1] = hn::BitCast(kShorts, hn::InterleaveUpper(kLongs, upper, lower));
    }
}

// --- rows -----------------------------------------------------------------------------------------------------------

// So many rows are worked on side by side, one in a lane of two vectors. The lanes of the first have rows 0 to 3 and,
// in the next 128 bits, 8 to 11; those of the second the others, so that ToShorts has all of them in order.
constexpr int kRows = 2 * kIntLanes;

template <ResampleShape kShape, bool kFine>
class RowResampler {
    static constexpr bool kLuma = kShape >= kLumaOnly;
    static constexpr int kPlanes = PlanesOf(kShape), kChannels = ChannelsOf(kShape);
    static constexpr int kPairSize = kPlanes * kRows * 2;  // numbers of 16 bits of a pair of columns
    static constexpr int kWindowPairs = 64;  // more than a list takes, which together stay in the first cache
    static constexpr int kWordsOfLoad = 8 / kPlanes * kPlanes;  // at most, in 16 bytes of a row

public:
    RowResampler(const RowBlock& block, int firstRow)
        : block_(block),
          taps_(*block.taps),
          pairs_(taps_.stride / 2),
          firstRow_(firstRow),
          rows_(block.rows - firstRow) {
        if (rows_ > kRows) rows_ = kRows;
        for (int r = 0; r < kRows; ++r) {
            src_[r] = block.src[r < rows_ ? firstRow + r : firstRow];
            const int row = r < rows_ ? firstRow + r : firstRow;
            dst_[r] = kFine ? reinterpret_cast<std::uint8_t*>(block.fine[row]) : block.dst[row];
        }
        const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(block.scratch);
        window_ = reinterpret_cast<std::int16_t*>(block.scratch + (64 - address % 64) % 64);
        capacity_ = pairs_ + kWindowPairs;

        int offset = 0;
        for (int p = 0; p < kPlanes; ++p) {
            if (block.offset[p] > offset) offset = block.offset[p];
        }
        rowBytes_ = static_cast<std::ptrdiff_t>(block.width - 1) * block.step + offset + 1;
        pairsOfLoad_ = 8 / kPlanes < 8 / block.step ? 8 / kPlanes : 8 / block.step;
        std::uint8_t from[16];
        for (int i = 0; i < 16; ++i) from[i] = 0x80;
        for (int w = 0; w < pairsOfLoad_ * kPlanes; ++w) {
            for (int i = 0; i < 2; ++i) {
                from[2 * w + i] =
                    static_cast<std::uint8_t>((w / kPlanes * 2 + i) * block.step + block.offset[w % kPlanes]);
            }
        }
        fromBytes_ = hn::LoadDup128(kBytes, from);

        for (int i = 0; i < RowBlock::kMaxPitch + 1; ++i) channelOf_[i] = kChannels;  // a row of zeros
        if (!kFine) {
            for (int c = 0; c < kChannels; ++c) channelOf_[block.byteOf[c]] = c;
        }
        std::memset(bytes_, 0, sizeof bytes_);
        inOrder_ = block.pitch == 2 * kWords;
        for (int c = 0; c < kChannels; ++c) inOrder_ = inOrder_ && block.byteOf[c] == c;
    }

    void Run() {
        const std::int16_t* coarse = taps_.coarse;
        for (int x = 0; x < taps_.count; ++x, coarse += kSets * taps_.stride) {
            if constexpr (kFine) {
                FineColumn(x, coarse);
            } else {
                Column(x, coarse);
            }
        }
        Flush(taps_.count);
    }

private:
    static constexpr int kSets = kLuma ? 4 : 1;
    static constexpr int kWords = (kChannels + 1) / 2;
    alignas(16) static constexpr std::uint8_t kInTurn[16] = {0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15};

    // The first plane of a channel.
    static constexpr int PlaneOf(int channel) { return kLuma && channel > 0 ? channel + 2 : channel; }

    // --- the window: pairs of neighbouring bytes of all rows

    const std::int16_t* PairAt(int pair) const {
        return window_ + static_cast<std::ptrdiff_t>(pair - windowFirst_) * kPairSize;
    }

    // Makes the pairs before `end` be in the window, along with those from `first` on.
    HWY_INLINE void Provide(int first, int end) {
        if (end <= windowEnd_) return;
        ProvideMore(first, end);
    }

    HWY_NOINLINE void ProvideMore(int first, int end) {
        if (first > windowEnd_) windowFirst_ = windowEnd_ = first;
        while (windowEnd_ < end) {
            if (windowEnd_ - windowFirst_ + 8 > capacity_) {
                const int kept = windowEnd_ - first;
                std::memmove(window_, PairAt(first), static_cast<std::size_t>(kept) * kPairSize * sizeof(std::int16_t));
                windowFirst_ = first;
            }
            LoadPairs();
        }
    }

    void LoadPairs() {
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(2) * windowEnd_ * block_.step;
        Shorts words[8];
        if (at + 16 <= rowBytes_) {
            if (at >= prefetched_) Prefetch(at);
            for (int r = 0; r < 8; ++r) words[r] = LoadRows(src_, r, at);
        } else {
            // What lies behind the row may not be read; taps there have no weight.
            std::uint8_t rows[kRows][16];
            std::memset(rows, 0, sizeof rows);
            const std::uint8_t* row[kRows];
            for (int r = 0; r < kRows; ++r) {
                if (at < rowBytes_) std::memcpy(rows[r], src_[r] + at, static_cast<std::size_t>(rowBytes_ - at));
                row[r] = rows[r];
            }
            for (int r = 0; r < 8; ++r) words[r] = LoadRows(row, r, 0);
        }
        Transpose(words);
        std::int16_t* pair = window_ + static_cast<std::ptrdiff_t>(windowEnd_ - windowFirst_) * kPairSize;
        const int count = pairsOfLoad_ * kPlanes;
        const Bytes zero = hn::Zero(kBytes);
        for (int w = 0; w < kWordsOfLoad; ++w, pair += 2 * kRows) {
            if (w >= count) break;
            const Bytes bytes = hn::BitCast(kBytes, words[w]);
            hn::Store(hn::BitCast(kShorts, hn::InterleaveLower(kBytes, bytes, zero)), kShorts, pair);
            hn::Store(hn::BitCast(kShorts, hn::InterleaveUpper(kBytes, bytes, zero)), kShorts, pair + kRows);
        }
        windowEnd_ += pairsOfLoad_;
    }

    // So many rows side by side are more than processors foresee by themselves.
    HWY_INLINE void Prefetch(std::ptrdiff_t at) {
        constexpr std::ptrdiff_t kLine = 64, kAhead = 8 * kLine;
        prefetched_ = at + kLine;
        if (at + kAhead >= rowBytes_) return;
        for (int r = 0; r < kRows; ++r) __builtin_prefetch(src_[r] + at + kAhead);
    }

    // The planes' bytes of some pixels, pair after pair, of row r and, in the next 128 bits, of row r + 8.
    Shorts LoadRows(const std::uint8_t* const* rows, int r, std::ptrdiff_t at) const {
#if HWY_TARGET == HWY_AVX2
        const hn::Half<decltype(kBytes)> kHalf;
        const Bytes bytes = hn::Combine(kBytes, hn::LoadU(kHalf, rows[r + 8] + at), hn::LoadU(kHalf, rows[r] + at));
#else
        const Bytes bytes = hn::LoadU(kBytes, rows[r] + at);
#endif
        return hn::BitCast(kShorts, hn::TableLookupBytesOr0(bytes, fromBytes_));
    }

    // --- one column of the result

    const IntegerForm& FormOf(const TapList& list, int channel) const {
        return kLuma && channel == 0 ? list.lumaForm : list.form;
    }

    void Column(int x, const std::int16_t* coarse) {
        const TapList& list = taps_.lists[x];
        if (list.taps == 0) {
            for (int c = 0; c < kChannels; ++c) hn::Store(hn::Zero(kShorts), kShorts, bytes_[c]);
            return Put(x);
        }
        const int first = list.first / 2;
        Provide(first, first + pairs_);
        const bool usable =
            kChannels > 1 || !kLuma ? list.form.usable && (!kLuma || list.lumaForm.usable) : list.lumaForm.usable;
        if (!usable) {
            for (int c = 0; c < kChannels; ++c) SumInDoubles(x, c);
            return Put(x);
        }

        if (wasFlat_) {
            wasFlat_ = TellAllFlat(list);
            if (wasFlat_) return Put(x);
        }

        Ints sums[kChannels][2];
        for (int c = 0; c < kChannels; ++c) {
            const IntegerForm& form = FormOf(list, c);
            sums[c][0] = sums[c][1] = hn::Set(kInts, HalfOf(taps_, form) - form.bound);
        }
        AddPairs(PairAt(first), coarse, sums);

        const Shorts zero = hn::Zero(kShorts);
        Shorts low[kWords * 2], high[kWords * 2];
        for (int c = 0; c < kWords * 2; ++c) low[c] = high[c] = zero;
        for (int c = 0; c < kChannels; ++c) {
            const IntegerForm& form = FormOf(list, c);
            const Ints spread = hn::Set(kInts, 2 * form.bound);
            low[c] = ToShorts(hn::ShiftRightSame(sums[c][0], form.shift), hn::ShiftRightSame(sums[c][1], form.shift));
            high[c] = ToShorts(hn::ShiftRightSame(hn::Add(sums[c][0], spread), form.shift),
                               hn::ShiftRightSame(hn::Add(sums[c][1], spread), form.shift));
        }
        Bytes bytes[kWords], unlike = hn::Zero(kBytes);
        for (int w = 0; w < kWords; ++w) {
            bytes[w] = ToBytes(low[2 * w], low[2 * w + 1]);
            unlike = hn::Or(unlike, hn::Xor(bytes[w], ToBytes(high[2 * w], high[2 * w + 1])));
        }
        const bool proved = hn::AllTrue(kBytes, hn::Eq(unlike, hn::Zero(kBytes)));
        if (proved && inOrder_) {
            for (int w = 0; w < kWords; ++w) {
                PutWord(hn::BitCast(kShorts, hn::TableLookupBytes(bytes[w], hn::LoadDup128(kBytes, kInTurn))));
            }
            return;
        }
        const Shorts most = hn::Set(kShorts, 255);
        for (int c = 0; c < kChannels; ++c) {
            const Shorts byte = hn::Min(hn::Max(low[c], zero), most);
            hn::Store(byte, kShorts, bytes_[c]);
            if (proved) continue;
            const Shorts open = hn::Xor(byte, hn::Min(hn::Max(high[c], zero), most));
            if (!hn::AllTrue(kShorts, hn::Eq(open, zero))) {
                if (Settle(x, c, sums[c][0], sums[c][1], open)) wasFlat_ = true;
            }
        }
        Put(x);
    }

    void FineColumn(int x, const std::int16_t* coarse) {
        const TapList& list = taps_.lists[x];
        if (list.taps == 0 || !list.form.usable || list.form.shift <= kFineBits) {
            for (int c = 0; c < kChannels; ++c) {
                alignas(64) std::int16_t samples[kRows] = {};
                for (int r = 0; r < rows_; ++r) samples[r] = FineSample(block_, firstRow_ + r, x, c);
                PutWord(hn::Load(kShorts, samples));
            }
            return;
        }
        const int first = list.first / 2, shift = list.form.shift - kFineBits;
        Provide(first, first + pairs_);
        Ints sums[kChannels][2];
        for (auto& sum : sums) sum[0] = sum[1] = hn::Set(kInts, std::int32_t{1} << (shift - 1));
        AddPairs(PairAt(first), coarse, sums);
        for (const auto& sum : sums) {
            PutWord(ToShorts(hn::ShiftRightSame(sum[0], shift), hn::ShiftRightSame(sum[1], shift)));
        }
    }

    HWY_INLINE void AddPairs(const std::int16_t* pair, const std::int16_t* weights, Ints (&sums)[kChannels][2]) const {
        int k = 0;
        for (; k + 2 <= pairs_; k += 2, pair += 2 * kPairSize, weights += 4) {
            AddAllOfPair(pair, weights, sums);
            AddAllOfPair(pair + kPairSize, weights + 2, sums);
        }
        if (k < pairs_) AddAllOfPair(pair, weights, sums);
    }

    HWY_INLINE void AddAllOfPair(const std::int16_t* pair, const std::int16_t* weights,
                                 Ints (&sums)[kChannels][2]) const {
        if constexpr (kLuma) {
            for (int p = 0; p < kPlanes; ++p) {
                const Shorts weight = PairOfWeights(weights + static_cast<std::ptrdiff_t>(p) * taps_.stride);
                AddPair(pair + 2 * kRows * p, weight, sums[p < 3 ? 0 : p - 2]);
            }
        } else {
            const Shorts weight = PairOfWeights(weights);
            for (int c = 0; c < kChannels; ++c) AddPair(pair + 2 * kRows * c, weight, sums[c]);
        }
    }

    // The same for one channel only.
    HWY_INLINE void AddPairsOf(int channel, const std::int16_t* pair, const std::int16_t* weights,
                               Ints (&sums)[2]) const {
        const int first = PlaneOf(channel), last = kLuma && channel == 0 ? 2 : first;
        for (int p = first; p <= last; ++p) {
            const std::int16_t* samples = pair + 2 * kRows * p;
            const std::int16_t* weight = weights + (kLuma ? static_cast<std::ptrdiff_t>(p) * taps_.stride : 0);
            for (int k = 0; k < pairs_; ++k, samples += kPairSize) {
                AddPair(samples, PairOfWeights(weight + 2 * k), sums);
            }
        }
    }

    HWY_INLINE static void AddPair(const std::int16_t* samples, Shorts weight, Ints (&sums)[2]) {
        sums[0] = AddProducts(sums[0], hn::Load(kShorts, samples), weight);
        sums[1] = AddProducts(sums[1], hn::Load(kShorts, samples + kRows), weight);
    }

    // --- what the coarse integers leave open

    // True if all that was open was flat.
    HWY_NOINLINE bool Settle(int x, int c, Ints lower, Ints upper, Shorts unlike) {
        const TapList& list = taps_.lists[x];
        const Shorts zero = hn::Zero(kShorts), most = hn::Set(kShorts, 255);
        Shorts unproved = hn::VecFromMask(kShorts, hn::Ne(unlike, zero));
        if (!kLuma || c > 0) {
            TellFlat(list, c, &unproved);
            if (hn::AllTrue(kShorts, hn::Eq(unproved, zero))) return true;
        }

        const IntegerForm& form = FormOf(list, c);
        Ints fine[2] = {hn::Zero(kInts), hn::Zero(kInts)};
        AddPairsOf(c, PairAt(list.first / 2), taps_.fine + static_cast<std::ptrdiff_t>(x) * kSets * taps_.stride, fine);
        const Ints bound = hn::Set(kInts, form.bound);
        const Ends a = FineEnds(hn::Add(lower, bound), fine[0], form);
        const Ends b = FineEnds(hn::Add(upper, bound), fine[1], form);
        const Shorts low = hn::Min(hn::Max(ToShorts(a.low, b.low), zero), most);
        const Shorts high = hn::Min(hn::Max(ToShorts(a.high, b.high), zero), most);
        const auto isOpen = hn::MaskFromVec(unproved);
        hn::Store(hn::IfThenElse(isOpen, low, hn::Load(kShorts, bytes_[c])), kShorts, bytes_[c]);
        if (!hn::AllFalse(kShorts, hn::And(isOpen, hn::Ne(low, high)))) SumInDoubles(x, c);
        return false;
    }

    // Settles lanes of a channel whose span is one byte throughout.
    void TellFlat(const TapList& list, int c, Shorts* unproved) {
        if (list.flat == FlatResult::unknown) return;
        const int first = list.first / 2, last = first + (list.taps + 1) / 2 - 1, plane = PlaneOf(c);
        const std::int16_t* const firstPair = PairAt(first) + 2 * kRows * plane;
        const std::int16_t* const lastPair = PairAt(last) + 2 * kRows * plane;
        Ints lastOf[2], alike[2];
        for (int i = 0; i < 2; ++i) {
            lastOf[i] = hn::BitCast(kInts, hn::Load(kShorts, lastPair + i * kRows));
            const Ints turned = hn::Or(hn::ShiftLeft<16>(lastOf[i]), hn::ShiftRight<16>(lastOf[i]));
            const Ints firstOf = hn::BitCast(kInts, hn::Load(kShorts, firstPair + i * kRows));
            alike[i] = hn::VecFromMask(kInts, hn::And(hn::Eq(lastOf[i], turned), hn::Eq(lastOf[i], firstOf)));
        }
        if (hn::AllTrue(kShorts, hn::Eq(hn::And(*unproved, ToShorts(alike[0], alike[1])), hn::Zero(kShorts)))) return;

        CountRuns(first, last);
        const Ints enough = hn::Set(kInts, last - first - 1);
        for (int i = 0; i < 2; ++i) {
            const Ints run = hn::LoadU(kInts, runs_[plane] + i * kIntLanes);
            alike[i] = hn::And(alike[i], hn::VecFromMask(kInts, hn::Gt(run, enough)));
        }
        const auto settled = hn::MaskFromVec(hn::And(*unproved, ToShorts(alike[0], alike[1])));
        const Ints lower = hn::Set(kInts, 0xFFFF);
        Shorts byte = ToShorts(hn::And(lastOf[0], lower), hn::And(lastOf[1], lower));
        if (list.flat == FlatResult::oneLess) {
            byte = hn::Max(hn::Sub(byte, hn::Set(kShorts, 1)), hn::Zero(kShorts));
        }
        hn::Store(hn::IfThenElse(settled, byte, hn::Load(kShorts, bytes_[c])), kShorts, bytes_[c]);
        *unproved = hn::IfThenZeroElse(settled, *unproved);
    }

    // Where flat spans lie side by side, they are found without any sum. True if all channels of all rows have one.
    HWY_NOINLINE bool TellAllFlat(const TapList& list) {
        if (kLuma || list.flat == FlatResult::unknown) return false;
        const int first = list.first / 2, last = first + (list.taps + 1) / 2 - 1;
        CountRuns(first, last);
        const Ints enough = hn::Set(kInts, last - first - 1), lower = hn::Set(kInts, 0xFFFF);
        const Shorts less = hn::Set(kShorts, static_cast<std::int16_t>(list.flat == FlatResult::oneLess ? 1 : 0));
        auto flat = hn::Eq(enough, enough);
        for (int c = 0; c < kChannels; ++c) {
            Ints byte[2];
            for (int i = 0; i < 2; ++i) {
                const Ints pair = hn::BitCast(kInts, hn::Load(kShorts, PairAt(last) + (2 * c + i) * kRows));
                byte[i] = hn::And(pair, lower);
                flat = hn::And(flat, hn::And(hn::Eq(byte[i], hn::ShiftRight<16>(pair)),
                                             hn::Gt(hn::LoadU(kInts, runs_[c] + i * kIntLanes), enough)));
            }
            const Shorts bytes = hn::Max(hn::Sub(ToShorts(byte[0], byte[1]), less), hn::Zero(kShorts));
            hn::Store(bytes, kShorts, bytes_[c]);
        }
        return hn::AllTrue(kInts, flat);
    }

    // By channel and row: how many pairs up to `last`, of those from `first` on, are the same as the pair before.
    void CountRuns(int first, int last) {
        if (runsEnd_ < first || runsEnd_ > last) {
            std::memset(runs_, 0, sizeof runs_);
            runsEnd_ = first;
        }
        for (; runsEnd_ < last; ++runsEnd_) {
            const std::int16_t* const pair = PairAt(runsEnd_);
            for (int v = 0; v < 2 * kPlanes; ++v) {
                const Ints before = hn::BitCast(kInts, hn::Load(kShorts, pair + v * kRows));
                const Ints after = hn::BitCast(kInts, hn::Load(kShorts, pair + kPairSize + v * kRows));
                const Ints same = hn::VecFromMask(kInts, hn::Eq(before, after));
                std::int32_t* const run = runs_[v / 2] + v % 2 * kIntLanes;
                hn::StoreU(hn::And(hn::Sub(hn::LoadU(kInts, run), same), same), kInts, run);
            }
        }
    }

    // The sums that define the result: in double precision, in the order of the taps.
    HWY_NOINLINE void SumInDoubles(int x, int c) {
        const TapList& list = taps_.lists[x];
        const float* const weights = taps_.weights + static_cast<std::ptrdiff_t>(x) * taps_.stride;
        const std::int16_t* pair = PairAt(list.first / 2) + 2 * kRows * PlaneOf(c);
        const Ints lower = hn::Set(kInts, 0xFFFF);
        Doubles sums[4];
        for (Doubles& sum : sums) sum = hn::Zero(kDoubles);
        for (int k = 0; k < list.taps; ++k) {
            const Doubles weight = hn::Set(kDoubles, static_cast<double>(weights[k]));
            const auto term = [&](int plane, int i) {
                const Ints both = hn::BitCast(kInts, hn::Load(kShorts, pair + 2 * kRows * plane + i * kRows));
                return k % 2 == 0 ? hn::And(both, lower) : hn::ShiftRight<16>(both);
            };
            for (int i = 0; i < 2; ++i) {
                if (kLuma && c == 0) {
                    const Doubles red = hn::Set(kDoubles, kLumaFactors[0]), green = hn::Set(kDoubles, kLumaFactors[1]),
                                  blue = hn::Set(kDoubles, kLumaFactors[2]);
                    const Ints r = term(0, i), g = term(1, i), b = term(2, i);
                    const auto luma = [&](Doubles rs, Doubles gs, Doubles bs) {
                        return hn::Add(hn::Add(hn::Mul(hn::Mul(rs, red), weight), hn::Mul(hn::Mul(gs, green), weight)),
                                       hn::Mul(hn::Mul(bs, blue), weight));
                    };
                    sums[2 * i] = hn::Add(sums[2 * i], luma(LowerDoubles(r), LowerDoubles(g), LowerDoubles(b)));
                    sums[2 * i + 1] = hn::Add(sums[2 * i + 1], luma(UpperDoubles(r), UpperDoubles(g), UpperDoubles(b)));
                } else {
                    const Ints sample = term(0, i);
                    sums[2 * i] = hn::Add(sums[2 * i], hn::Mul(LowerDoubles(sample), weight));
                    sums[2 * i + 1] = hn::Add(sums[2 * i + 1], hn::Mul(UpperDoubles(sample), weight));
                }
            }
            if (k % 2 == 1) pair += kPairSize;
        }
        const Doubles weightSum = hn::Set(kDoubles, list.weightSum);
        for (Doubles& sum : sums) sum = EndOfSum(sum, weightSum, taps_.ending);
        hn::Store(ToShorts(ToInts(sums[0], sums[1]), ToInts(sums[2], sums[3])), kShorts, bytes_[c]);
    }

    // --- the result, from bytes by channel and row to groups

    // A group is taken as words of two bytes; of groups of one byte, two neighbours are a word. Eight words of all rows
    // are gathered, and turned to 16 bytes of each row.
    HWY_INLINE void Put(int x) {
        const int pitch = block_.pitch;
        if (pitch == 1) {
            if (x % 2 == 0) {
                hn::Store(hn::Load(kShorts, bytes_[0]), kShorts, words_[wordCount_]);
            } else {
                const Shorts before = hn::Load(kShorts, words_[wordCount_]);
                PutWord(hn::Or(before, hn::ShiftLeft<8>(hn::Load(kShorts, bytes_[0]))));
            }
        } else if (pitch % 2 == 0) {
            for (int i = 0; i < pitch; i += 2) {
                PutWord(hn::Or(hn::Load(kShorts, bytes_[channelOf_[i]]),
                               hn::ShiftLeft<8>(hn::Load(kShorts, bytes_[channelOf_[i + 1]]))));
            }
        } else {
            for (int r = 0; r < rows_; ++r) {
                std::uint8_t* const group = dst_[r] + static_cast<std::ptrdiff_t>(x) * pitch;
                for (int i = 0; i < pitch; ++i) group[i] = static_cast<std::uint8_t>(bytes_[channelOf_[i]][r]);
            }
        }
    }

    HWY_INLINE void PutWord(Shorts word) {
        hn::Store(word, kShorts, words_[wordCount_]);
        if (++wordCount_ == 8) StoreWords(16);
    }

    void Flush(int columns) {
        const std::ptrdiff_t bytes = static_cast<std::ptrdiff_t>(columns) * (kFine ? 2 * kChannels : block_.pitch);
        if (kFine || block_.pitch == 1 || block_.pitch % 2 == 0) {
            if (bytes > put_) StoreWords(static_cast<int>(bytes - put_));
        }
    }

    void StoreWords(int count) {
        Shorts words[8];
        for (int i = 0; i < 8; ++i) words[i] = hn::Load(kShorts, words_[i]);
        Transpose(words);
        for (int r = 0; r < 8; ++r) {
            std::uint8_t both[kByteLanes];
            const Bytes bytes = hn::BitCast(kBytes, words[r]);
#if HWY_TARGET == HWY_AVX2
            const hn::Half<decltype(kBytes)> k16;
            if (count == 16 && rows_ == kRows) {
                hn::StoreU(hn::LowerHalf(k16, bytes), k16, dst_[r] + put_);
                hn::StoreU(hn::UpperHalf(k16, bytes), k16, dst_[r + 8] + put_);
                continue;
            }
#endif
            hn::StoreU(bytes, kBytes, both);
            for (int part = 0; part < kByteLanes / 16; ++part) {
                const int row = r + 8 * part;
                if (row < rows_) std::memcpy(dst_[row] + put_, both + 16 * part, static_cast<std::size_t>(count));
            }
        }
        put_ += count;
        wordCount_ = 0;
    }

    const RowBlock& block_;
    const Taps& taps_;
    int pairs_;
    int firstRow_;
    int rows_;  // that there are; the other lanes repeat the first
    const std::uint8_t* src_[kRows];
    std::uint8_t* dst_[kRows];

    std::int16_t* window_;
    int capacity_;  // in pairs
    int windowFirst_ = 0, windowEnd_ = 0;
    std::ptrdiff_t rowBytes_;
    std::ptrdiff_t prefetched_ = 0;
    int pairsOfLoad_;
    Bytes fromBytes_;

    bool wasFlat_ = false;  // the column before
    int runsEnd_ = -1;
    std::int32_t runs_[kPlanes][kRows];

    alignas(64) std::int16_t bytes_[kChannels + 1][kRows];  // of the column, and zeros
    int channelOf_[RowBlock::kMaxPitch + 1];
    alignas(64) std::int16_t words_[8][kRows];
    int wordCount_ = 0;
    bool inOrder_;            // groups of whole words, of channel 0, 1, ...
    std::ptrdiff_t put_ = 0;  // bytes of each row
};

template <ResampleShape kShape>
void AlongRows(const RowBlock& block) {
    for (int first = 0; first < block.rows; first += kRows) RowResampler<kShape, false>(block, first).Run();
}

template <ResampleShape kShape>
void AlongFine(const RowBlock& block) {
    for (int first = 0; first < block.rows; first += kRows) RowResampler<kShape, true>(block, first).Run();
}

// --- rows one above the other ---------------------------------------------------------------------------------------

struct Stack {
    const RowStack& stack;
    std::uint8_t* dst;
    const TapList& list;
    Ending ending;
    std::int32_t half;
    const float* weights;
    const std::int16_t* coarse;
    const std::int16_t* fine;
    Shorts bounds;  // of a level, of none
};

HWY_INLINE Bytes LoadRow(const Stack& s, int tap, std::ptrdiff_t at) {
    return hn::LoadU(kBytes, s.stack.rows[tap] + at);
}

// Adds two rows' bytes, each times its weight, to the sums of its columns.
HWY_INLINE void AddRows(Bytes a, Bytes b, Shorts weights, Ints (&sums)[4]) {
    const Bytes zero = hn::Zero(kBytes);
    const Bytes lower = hn::InterleaveLower(kBytes, a, b), upper = hn::InterleaveUpper(kBytes, a, b);
    sums[0] = AddProducts(sums[0], hn::BitCast(kShorts, hn::InterleaveLower(kBytes, lower, zero)), weights);
    sums[1] = AddProducts(sums[1], hn::BitCast(kShorts, hn::InterleaveUpper(kBytes, lower, zero)), weights);
    sums[2] = AddProducts(sums[2], hn::BitCast(kShorts, hn::InterleaveLower(kBytes, upper, zero)), weights);
    sums[3] = AddProducts(sums[3], hn::BitCast(kShorts, hn::InterleaveUpper(kBytes, upper, zero)), weights);
}

HWY_INLINE void SumRows(const Stack& s, const std::int16_t* weights, std::ptrdiff_t at, Ints (&sums)[4]) {
    const int taps = s.list.taps;
    for (int k = 0; k < taps; k += 2) {
        AddRows(LoadRow(s, k, at), LoadRow(s, k + 1 < taps ? k + 1 : k, at), PairOfWeights(weights + k), sums);
    }
}

// The coarse sums of lists of the same rows, and how far the bytes of each column are apart.
template <int kLists>
HWY_INLINE Bytes SumCoarse(const Stack (&s)[kLists], std::ptrdiff_t at, Ints (&sums)[kLists][4]) {
    const int taps = s[0].list.taps;
    Bytes least = LoadRow(s[0], 0, at), most = least;
    const Bytes zero = hn::Zero(kBytes);
    for (int k = 0; k < taps; k += 2) {
        const Bytes a = LoadRow(s[0], k, at), b = LoadRow(s[0], k + 1 < taps ? k + 1 : k, at);
        least = hn::Min(least, hn::Min(a, b));
        most = hn::Max(most, hn::Max(a, b));
        const Bytes lower = hn::InterleaveLower(kBytes, a, b), upper = hn::InterleaveUpper(kBytes, a, b);
        const Bytes pairs[4] = {hn::InterleaveLower(kBytes, lower, zero), hn::InterleaveUpper(kBytes, lower, zero),
                                hn::InterleaveLower(kBytes, upper, zero), hn::InterleaveUpper(kBytes, upper, zero)};
        for (int l = 0; l < kLists; ++l) {
            const Shorts weights = PairOfWeights(s[l].coarse + k);
            for (int i = 0; i < 4; ++i) sums[l][i] = AddProducts(sums[l][i], hn::BitCast(kShorts, pairs[i]), weights);
        }
    }
    return hn::Sub(most, least);
}

HWY_INLINE Bytes BytesOf(const Ints (&sums)[4], int shift) {
    return ToBytes(ToShorts(hn::ShiftRightSame(sums[0], shift), hn::ShiftRightSame(sums[1], shift)),
                   ToShorts(hn::ShiftRightSame(sums[2], shift), hn::ShiftRightSame(sums[3], shift)));
}
HWY_INLINE Bytes BytesOfLow(const Ints (&sums)[4], const Ints (&bounds)[4], int shift) {
    const Ints low[4] = {hn::Sub(sums[0], bounds[0]), hn::Sub(sums[1], bounds[1]), hn::Sub(sums[2], bounds[2]),
                         hn::Sub(sums[3], bounds[3])};
    return BytesOf(low, shift);
}
HWY_INLINE Bytes BytesOfHigh(const Ints (&sums)[4], const Ints (&bounds)[4], int shift) {
    const Ints high[4] = {hn::Add(sums[0], bounds[0]), hn::Add(sums[1], bounds[1]), hn::Add(sums[2], bounds[2]),
                          hn::Add(sums[3], bounds[3])};
    return BytesOf(high, shift);
}

// The sums that define the result, for one vector of columns.
HWY_NOINLINE void SumInDoubles(const Stack& s, std::ptrdiff_t at) {
    constexpr int kParts = 8, kLanes = kByteLanes / kParts;
    const hn::Rebind<std::uint8_t, decltype(kDoubles)> kFewBytes;
    const hn::Rebind<std::int32_t, decltype(kDoubles)> kFewInts;
    static_assert(hn::MaxLanes(hn::ScalableTag<double>()) == kLanes);
    Doubles sums[kParts];
    for (Doubles& sum : sums) sum = hn::Zero(kDoubles);
    for (int k = 0; k < s.list.taps; ++k) {
        const Doubles weight = hn::Set(kDoubles, static_cast<double>(s.weights[k]));
        const std::uint8_t* const row = s.stack.rows[k] + at;
        for (int i = 0; i < kParts; ++i) {
            const auto bytes = hn::LoadU(kFewBytes, row + i * kLanes);
            const Doubles sample = hn::PromoteTo(kDoubles, hn::PromoteTo(kFewInts, bytes));
            sums[i] = hn::Add(sums[i], hn::Mul(sample, weight));
        }
    }
    const Doubles weightSum = hn::Set(kDoubles, s.list.weightSum);
    for (int i = 0; i < kParts; ++i) {
        std::int32_t ints[kLanes];
        hn::StoreU(hn::DemoteTo(kFewInts, EndOfSum(sums[i], weightSum, s.ending)), kFewInts, ints);
        for (int k = 0; k < kLanes; ++k) s.dst[at + i * kLanes + k] = static_cast<std::uint8_t>(ints[k]);
    }
}

// One column of a result that is narrower than a vector.
std::uint8_t ByteOfDoubles(const Stack& s, std::ptrdiff_t at) {
    double sum = 0.0;
    for (int k = 0; k < s.list.taps; ++k) {
        sum += static_cast<double>(s.stack.rows[k][at]) * static_cast<double>(s.weights[k]);
    }
    const double quotient = sum / s.list.weightSum;
    const double value = s.ending == Ending::nearest ? quotient + 0.5 : quotient;
    return static_cast<std::uint8_t>(!(value > 0.0) ? 0 : value < 255.0 ? static_cast<int>(value) : 255);
}

// Settles a vector of columns that are flat, without any sum. False if one of them is not.
HWY_INLINE bool TellAllFlat(const Stack& s, std::ptrdiff_t at) {
    const Bytes first = LoadRow(s, 0, at);
    auto isFlat = hn::Eq(first, LoadRow(s, s.list.taps - 1, at));
    if (s.list.flat == FlatResult::unknown || !hn::AllTrue(kBytes, isFlat)) return false;
    for (int k = 1; k < s.list.taps; ++k) isFlat = hn::And(isFlat, hn::Eq(first, LoadRow(s, k, at)));
    if (!hn::AllTrue(kBytes, isFlat)) return false;
    const Bytes less = hn::Set(kBytes, static_cast<std::uint8_t>(s.list.flat == FlatResult::oneLess ? 1 : 0));
    hn::StoreU(hn::SaturatedSub(first, less), kBytes, s.dst + at);
    return true;
}

// Settles what the coarse sums of one vector of columns leave open, by the columns' own bounds.
// True if all that was open was flat.
HWY_NOINLINE bool SettleColumns(const Stack& s, std::ptrdiff_t at, const std::int32_t* open, Bytes byte,
                                hn::Mask<decltype(kBytes)> isOpen) {
    const IntegerForm& form = s.list.form;
    const Bytes first = LoadRow(s, 0, at);
    auto isFlat = hn::And(isOpen, hn::Eq(first, LoadRow(s, s.list.taps - 1, at)));
    if (s.list.flat != FlatResult::unknown && !hn::AllFalse(kBytes, isFlat)) {
        for (int k = 1; k < s.list.taps; ++k) isFlat = hn::And(isFlat, hn::Eq(first, LoadRow(s, k, at)));
        const Bytes less = hn::Set(kBytes, static_cast<std::uint8_t>(s.list.flat == FlatResult::oneLess ? 1 : 0));
        byte = hn::IfThenElse(isFlat, hn::SaturatedSub(first, less), byte);
        isOpen = hn::AndNot(isFlat, isOpen);
    }
    if (!hn::AllFalse(kBytes, isOpen)) {
        Ints fine[4];
        for (Ints& sum : fine) sum = hn::Zero(kInts);
        SumRows(s, s.fine, at, fine);
        Ints low[4], high[4];
        for (int i = 0; i < 4; ++i) {
            const Ends ends = FineEnds(hn::LoadU(kInts, open + i * kIntLanes), fine[i], form);
            low[i] = ends.low;
            high[i] = ends.high;
        }
        const Bytes lowest = BytesOf(low, 0);
        byte = hn::IfThenElse(isOpen, lowest, byte);
        isOpen = hn::And(isOpen, hn::Ne(lowest, BytesOf(high, 0)));
        if (!hn::AllFalse(kBytes, isOpen)) {
            SumInDoubles(s, at);
            return false;
        }
        hn::StoreU(byte, kBytes, s.dst + at);
        return false;
    }
    hn::StoreU(byte, kBytes, s.dst + at);
    return true;
}

// The same where few columns are open, one by one. Their bits are set in `bits`.
HWY_NOINLINE void SettleFewColumns(const Stack& s, std::ptrdiff_t at, const std::int32_t* open, std::uint32_t bits) {
    const IntegerForm& form = s.list.form;
    const int taps = s.list.taps, shift = form.shift + form.fineShift;
    for (; bits != 0; bits &= bits - 1) {
        const int column = __builtin_ctz(bits);
        std::uint8_t* const byte = s.dst + at + column;
        const int first = s.stack.rows[0][at + column];
        std::int32_t fine = 0;
        int unlike = 0;
        for (int k = 0; k < taps; ++k) {
            const int sample = s.stack.rows[k][at + column];
            fine += sample * s.fine[k];
            unlike |= sample ^ first;
        }
        if (unlike == 0 && s.list.flat != FlatResult::unknown) {
            *byte = static_cast<std::uint8_t>(first - (s.list.flat == FlatResult::oneLess && first > 0 ? 1 : 0));
            continue;
        }
        // The sums lie as Columns made them: in every 16 columns, four in each vector.
        const std::int32_t coarse = open[column % 16 / 4 * kIntLanes + column / 16 * 4 + column % 4];
        const std::int32_t whole = coarse >> form.shift, fraction = coarse & ((std::int32_t{1} << form.shift) - 1);
        const std::int32_t sum = fraction * (std::int32_t{1} << form.fineShift) + fine;
        const std::int32_t low = whole + ((sum - form.fineBound) >> shift);
        const std::int32_t high = whole + ((sum + form.fineBound) >> shift);
        *byte = low == high ? static_cast<std::uint8_t>(low < 0     ? 0
                                                        : low > 255 ? 255
                                                                    : low)
                            : ByteOfDoubles(s, at + column);
    }
}

// One vector of columns, of lists of the same rows.
template <int kLists>
HWY_INLINE void Columns(const Stack (&s)[kLists], std::ptrdiff_t at, bool* wasFlat) {
    constexpr int kFew = 4;
    if (*wasFlat) {
        for (const Stack& list : s) *wasFlat = *wasFlat && TellAllFlat(list, at);
        if (*wasFlat) return;
    }
    Ints sums[kLists][4];
    for (int l = 0; l < kLists; ++l) {
        for (Ints& sum : sums[l]) sum = hn::Set(kInts, s[l].half);
    }
    const Bytes range = SumCoarse(s, at, sums);
    for (int l = 0; l < kLists; ++l) {
        const int shift = s[l].list.form.shift;
        Ints bounds[4] = {hn::Zero(kInts), hn::Zero(kInts), hn::Zero(kInts), hn::Zero(kInts)};
        AddRows(range, hn::Set(kBytes, 1), s[l].bounds, bounds);
        const Bytes low = BytesOfLow(sums[l], bounds, shift);
        const auto isOpen = hn::Ne(low, BytesOfHigh(sums[l], bounds, shift));
        hn::StoreU(low, kBytes, s[l].dst + at);
        if (HWY_LIKELY(hn::AllFalse(kBytes, isOpen))) continue;
        std::int32_t open[4 * kIntLanes];
        for (int i = 0; i < 4; ++i) hn::StoreU(sums[l][i], kInts, open + i * kIntLanes);
        std::uint32_t bits = 0;
        std::uint8_t mask[8] = {};
        hn::StoreMaskBits(kBytes, isOpen, mask);
        std::memcpy(&bits, mask, sizeof bits);
        if (__builtin_popcount(bits) <= kFew) {
            SettleFewColumns(s[l], at, open, bits);
        } else {
            *wasFlat = SettleColumns(s[l], at, open, low, isOpen);
        }
    }
}

Stack StackOf(const RowStack& stack, int which) {
    const Taps& taps = *stack.taps;
    const TapList& list = taps.lists[stack.list + which];
    const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(stack.list + which) * taps.stride;
    const std::int16_t bounds[] = {list.form.boundOfLevel, list.form.boundOfNone};
    return {stack,
            stack.dst[which],
            list,
            taps.ending,
            HalfOf(taps, list.form),
            taps.weights + at,
            taps.coarse + at,
            taps.fine + at,
            PairOfWeights(bounds)};
}

// All whole vectors of columns, and the last columns as a vector that some of the others are in.
template <class Work>
HWY_INLINE void ForVectors(std::ptrdiff_t count, Work work) {
    std::ptrdiff_t i = 0;
    for (; i + kByteLanes <= count; i += kByteLanes) work(i);
    if (i < count) work(count - kByteLanes);
}

void AcrossRowsOf(const Stack& s) {
    const std::ptrdiff_t count = s.stack.count;
    if (count < kByteLanes) {
        for (std::ptrdiff_t i = 0; i < count; ++i) s.dst[i] = ByteOfDoubles(s, i);
    } else if (s.list.form.usable) {
        const Stack one[] = {s};
        bool wasFlat = false;
        ForVectors(count, [&](std::ptrdiff_t at) { Columns(one, at, &wasFlat); });
    } else {
        ForVectors(count, [&](std::ptrdiff_t at) { SumInDoubles(s, at); });
    }
}

void AcrossRows(const RowStack& stack) {
    const Stack first = StackOf(stack, 0);
    if (stack.lists < 2) return AcrossRowsOf(first);
    const Stack both[] = {first, StackOf(stack, 1)};
    if (stack.count < kByteLanes || !first.list.form.usable || !both[1].list.form.usable) {
        AcrossRowsOf(first);
        return AcrossRowsOf(both[1]);
    }
    bool wasFlat = false;
    ForVectors(stack.count, [&](std::ptrdiff_t at) { Columns(both, at, &wasFlat); });
}

// --- fine samples ---------------------------------------------------------------------------------------------------

// Adds two rows' samples, each times its weight, to the sums of its columns.
HWY_INLINE void AddFineRows(const std::int16_t* a, const std::int16_t* b, Shorts weights, Ints* sums) {
    const Shorts first = hn::LoadU(kShorts, a), second = hn::LoadU(kShorts, b);
    sums[0] = AddProducts(sums[0], hn::InterleaveLower(kShorts, first, second), weights);
    sums[1] = AddProducts(sums[1], hn::InterleaveUpper(kShorts, first, second), weights);
}

// As many columns as bytes in a vector.
HWY_INLINE void FineColumns(const FineStack& stack, std::ptrdiff_t at) {
    constexpr int kShift = FineStack::kWeightBits + kFineBits;
    Ints sums[4];
    for (Ints& sum : sums) sum = hn::Set(kInts, std::int32_t{1} << (kShift - 1));
    for (int k = 0; k < stack.taps; k += 2) {
        const std::int16_t* const a = stack.rows[k] + at;
        const std::int16_t* const b = stack.rows[k + 1 < stack.taps ? k + 1 : k] + at;
        const Shorts weights = PairOfWeights(stack.weights + k);
        AddFineRows(a, b, weights, sums);
        AddFineRows(a + 2 * kIntLanes, b + 2 * kIntLanes, weights, sums + 2);
    }
    for (Ints& sum : sums) sum = hn::ShiftRight<kShift>(sum);
    Bytes bytes = ToBytes(ToShorts(sums[0], sums[1]), ToShorts(sums[2], sums[3]));
#if HWY_TARGET == HWY_AVX2
    bytes = Bytes{_mm256_permute4x64_epi64(bytes.raw, 0xD8)};
#endif
    hn::StoreU(bytes, kBytes, stack.dst + at);
}

void AcrossFine(const FineStack& stack) {
    if (!stack.weights) return AcrossFineByShares(stack);
    if (stack.count >= kByteLanes) {
        ForVectors(stack.count, [&](std::ptrdiff_t at) { FineColumns(stack, at); });
        return;
    }
    constexpr int kShift = FineStack::kWeightBits + kFineBits;
    for (std::ptrdiff_t i = 0; i < stack.count; ++i) {
        std::int32_t sum = std::int32_t{1} << (kShift - 1);
        for (int k = 0; k < stack.taps; ++k) sum += stack.rows[k][i] * stack.weights[k];
        sum >>= kShift;
        stack.dst[i] = static_cast<std::uint8_t>(sum < 0 ? 0 : sum < 255 ? sum : 255);
    }
}

}  // namespace

void ZOR_TIER_FUNCTION(InitScaling)(ScalingKernels* kernels) {
    *kernels = {{AlongRows<kChannels1>, AlongRows<kChannels2>, AlongRows<kChannels3>, AlongRows<kChannels4>,
                 AlongRows<kChannels5>, AlongRows<kLumaOnly>, AlongRows<kLumaAndAlpha>},
                AcrossRows,
                {AlongFine<kChannels1>, AlongFine<kChannels2>, AlongFine<kChannels3>, AlongFine<kChannels4>},
                AcrossFine};
}

}  // namespace zor
