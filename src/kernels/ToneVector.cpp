#include "kernels/LookUp.h"
#include "kernels/Tone.h"

namespace zor {

namespace {

const hn::RebindToSigned<decltype(kBytes)> kSignedBytes;
const hn::RepartitionToWide<decltype(kBytes)> kWords;
const hn::RebindToSigned<decltype(kWords)> kShorts;
const hn::RepartitionToWide<decltype(kShorts)> kInts;
const hn::RebindToFloat<decltype(kInts)> kFloats;
using Words = hn::Vec<decltype(kWords)>;
using Shorts = hn::Vec<decltype(kShorts)>;
using Ints = hn::Vec<decltype(kInts)>;

// The bytes of a vector as words, the even and the odd ones. Nothing crosses a lane on the way there and back.
struct Halves {
    Words even, odd;
};
HWY_INLINE Halves Widen(Bytes bytes) {
    const Words words = hn::BitCast(kWords, bytes);
    return {hn::And(words, hn::Set(kWords, 255)), hn::ShiftRight<8>(words)};
}
HWY_INLINE Bytes Narrow(Halves words) {  // below 256
    return hn::BitCast(kBytes, hn::Or(words.even, hn::ShiftLeft<8>(words.odd)));
}

// --- luminance ------------------------------------------------------------------------------------------------------

// The sum N of the parts in thousandths is a whole number, at most 255000, and the sum of the doubles is within 1e-12
// of N / 1000. So they agree, rounded down, unless N is a multiple of 1000, where the doubles may have fallen short.
// Those pixels are looked at again: grays, which are always such, by a table of bits, and others one by one.
//
// N / 1000 = (N / 8) / 125, and for m = N / 8 < 59074 the quotient m / 125 is m 33555 / 2^22: what the factor is too
// large by, 71 / (125 2^22), stays below the 1 / 125 that the next whole number is away.

// Pixels of three or four bytes, whose channels lie within as many bytes from the first on.
bool LieSideBySide(const PixelRun& run) {
    const std::ptrdiff_t* const at = run.channels.offset;
    if (run.step != 3 && run.step != 4) return false;
    for (int a = 0; a < 3; ++a) {
        for (int b = 0; b < 3; ++b) {
            if (at[a] - at[b] >= run.step || (a != b && at[a] == at[b])) return false;
        }
    }
    return true;
}

// As many pixels as a vector has bytes, as red and green in the halves of 32 bits, and blue in the lower or in both.
// Part k holds pixels 4 k to 4 k + 3 of every sixteen.
class PixelBlock {
public:
    explicit PixelBlock(const PixelRun& rgb) : step_(rgb.step) {
        const std::ptrdiff_t *const at = rgb.channels.offset, red = at[0], green = at[1], blue = at[2];
        lowest_ = red < green ? (red < blue ? red : blue) : (green < blue ? green : blue);
        alignas(16) std::uint8_t places[3][16];
        for (int i = 0; i < 16; ++i) {
            const std::ptrdiff_t pixel = i / 4 * step_ - lowest_;
            const bool isEven = i % 2 == 0, isLow = i % 4 == 0;
            places[0][i] = static_cast<std::uint8_t>(isEven ? pixel + (isLow ? red : green) : 128);
            places[1][i] = static_cast<std::uint8_t>(isLow ? pixel + blue : 128);
            places[2][i] = static_cast<std::uint8_t>(isEven ? pixel + blue : 128);
        }
        redGreen_ = hn::LoadDup128(kBytes, places[0]);
        blue_ = hn::LoadDup128(kBytes, places[1]);
        blueTwice_ = hn::LoadDup128(kBytes, places[2]);
    }
    // Up to two pixels behind those of the block are read too.
    HWY_INLINE Bytes Load(const std::uint8_t* pixel, int part) const {
        const std::uint8_t* const from = pixel + lowest_ + 4 * part * step_;
#if HWY_TARGET == HWY_AVX2
        const hn::Half<decltype(kBytes)> kHalf;
        return hn::Combine(kBytes, hn::LoadU(kHalf, from + 16 * step_), hn::LoadU(kHalf, from));
#else
        return hn::LoadU(kBytes, from);
#endif
    }
    HWY_INLINE Shorts RedGreen(Bytes part) const {
        return Words16(part, redGreen_);
    }
    HWY_INLINE Shorts Blue(Bytes part) const {
        return Words16(part, blue_);
    }
    HWY_INLINE Shorts BlueTwice(Bytes part) const {
        return Words16(part, blueTwice_);
    }

private:
    static HWY_INLINE Shorts Words16(Bytes part, Bytes places) {
        return hn::BitCast(kShorts, hn::TableLookupBytesOr0(part, places));
    }

    std::ptrdiff_t step_, lowest_;
    Bytes redGreen_, blue_, blueTwice_;
};

struct LuminanceWeights {
    Shorts redGreen, blue;
};

// Of half the pixels of a block: levels, and -1 where they are uncertain.
struct HalfLevels {
    Shorts level, uncertain;
};

HWY_INLINE HalfLevels LevelsOf(const PixelBlock& block, const std::uint8_t* pixel, int half,
                               const LuminanceWeights& weights) {
    Ints sum[2];
    for (int k = 0; k < 2; ++k) {
        const Bytes part = block.Load(pixel, 2 * half + k);
        Ints rest = hn::Zero(kInts);
        const Ints first =
            hn::ReorderWidenMulAccumulate(kInts, block.RedGreen(part), weights.redGreen, hn::Zero(kInts), rest);
        const Ints both = hn::ReorderWidenMulAccumulate(kInts, block.Blue(part), weights.blue, first, rest);
        sum[k] = hn::RearrangeToOddPlusEven(both, rest);
    }
    const Shorts eighth = hn::ReorderDemote2To(kShorts, hn::ShiftRight<3>(sum[0]), hn::ShiftRight<3>(sum[1]));
    const Ints lowest = hn::Set(kInts, 7);
    const Shorts rest = hn::ReorderDemote2To(kShorts, hn::And(sum[0], lowest), hn::And(sum[1], lowest));
    const Shorts level = hn::BitCast(
        kShorts, hn::ShiftRight<6>(hn::MulHigh(hn::BitCast(kWords, eighth), hn::Set(kWords, std::uint16_t{33555}))));
    const Shorts left = hn::Or(hn::Sub(eighth, hn::Mul(level, hn::Set(kShorts, 125))), rest);
    return {level, hn::VecFromMask(kShorts, hn::Eq(left, hn::Zero(kShorts)))};
}

// The low bytes of words.
alignas(16) constexpr std::uint8_t kToLower[16] = {0, 2, 4, 6, 8, 10, 12, 14, 128, 128, 128, 128, 128, 128, 128, 128};
alignas(16) constexpr std::uint8_t kToUpper[16] = {128, 128, 128, 128, 128, 128, 128, 128, 0, 2, 4, 6, 8, 10, 12, 14};

HWY_INLINE Bytes LowBytes(Shorts lower, Shorts upper) {
    return hn::Or(hn::TableLookupBytesOr0(hn::BitCast(kBytes, lower), hn::LoadDup128(kBytes, kToLower)),
                  hn::TableLookupBytesOr0(hn::BitCast(kBytes, upper), hn::LoadDup128(kBytes, kToUpper)));
}

// The grays of a block.
struct Grays {
    Bytes isGray;  // 255 or 0
    Bytes value;
};

HWY_INLINE Grays GraysOf(const PixelBlock& block, const std::uint8_t* pixel) {
    Shorts isGray[2], value[2];
    for (int half = 0; half < 2; ++half) {
        Ints same[2], red[2];
        for (int k = 0; k < 2; ++k) {
            const Bytes part = block.Load(pixel, 2 * half + k);
            const Ints redGreen = hn::BitCast(kInts, block.RedGreen(part));
            same[k] = hn::VecFromMask(kInts, hn::Eq(redGreen, hn::BitCast(kInts, block.BlueTwice(part))));
            red[k] = hn::And(redGreen, hn::Set(kInts, 255));
        }
        isGray[half] = hn::ReorderDemote2To(kShorts, same[0], same[1]);
        value[half] = hn::ReorderDemote2To(kShorts, red[0], red[1]);
    }
    return {LowBytes(isGray[0], isGray[1]), LowBytes(value[0], value[1])};
}

// 255 for grays whose sum falls short of them.
class ShortGrays {
public:
    explicit ShortGrays(const LuminanceParts& parts) {
        alignas(16) static constexpr std::uint8_t kBitOfRow[16] = {1, 2, 4, 8, 16, 32, 64, 128,
                                                                   1, 2, 4, 8, 16, 32, 64, 128};
        lower_ = hn::LoadDup128(kBytes, parts.grayFallsShort[0]);
        upper_ = hn::LoadDup128(kBytes, parts.grayFallsShort[1]);
        bitOfRow_ = hn::LoadDup128(kBytes, kBitOfRow);
    }
    HWY_INLINE Bytes operator()(Bytes gray) const {
        const Bytes column = hn::And(gray, hn::Set(kBytes, 15)), row = hn::ShiftRight<4>(gray);
        const auto isUpper = hn::Gt(gray, hn::Set(kBytes, 127));
        const Bytes bits =
            hn::IfThenElse(isUpper, hn::TableLookupBytes(upper_, column), hn::TableLookupBytes(lower_, column));
        const Bytes bit = hn::TableLookupBytes(bitOfRow_, row);
        return hn::VecFromMask(kBytes, hn::Eq(hn::And(bits, bit), bit));
    }

private:
    Bytes lower_, upper_, bitOfRow_;
};

void Luminance(const PixelRun& rgb, std::ptrdiff_t count, const LuminanceParts& parts, std::uint8_t* levels) {
    const std::ptrdiff_t red = rgb.channels.offset[0], green = rgb.channels.offset[1], blue = rgb.channels.offset[2];
    const std::ptrdiff_t step = rgb.step;
    const std::uint8_t* const pixels = rgb.pixels;
    const auto levelAt = [&](std::ptrdiff_t i) {
        const std::uint8_t* const pixel = pixels + i * step;
        return static_cast<std::uint8_t>(parts.red[pixel[red]] + parts.green[pixel[green]] + parts.blue[pixel[blue]]);
    };
    constexpr std::ptrdiff_t kReadOn = 2;
    std::ptrdiff_t i = 0;
    if (count >= kLanes + kReadOn && LieSideBySide(rgb)) {
        const LuminanceWeights weights = {
            hn::BitCast(kShorts, hn::Set(kInts, parts.thousandths[1] << 16 | parts.thousandths[0])),
            hn::BitCast(kShorts, hn::Set(kInts, parts.thousandths[2]))};
        const PixelBlock block(rgb);
        const ShortGrays shortGrays(parts);
        const Bytes zero = hn::Zero(kBytes);
        for (; i + kLanes + kReadOn <= count; i += kLanes) {
            const std::uint8_t* const pixel = pixels + i * step;
            const HalfLevels lower = LevelsOf(block, pixel, 0, weights), upper = LevelsOf(block, pixel, 1, weights);
            const Bytes level = LowBytes(lower.level, upper.level);
            hn::StoreU(level, kBytes, levels + i);
            const Bytes uncertain = LowBytes(lower.uncertain, upper.uncertain);
            if (hn::AllTrue(kBytes, hn::Eq(uncertain, zero))) continue;
            const Grays grays = GraysOf(block, pixel);
            const Bytes isGray = hn::And(uncertain, grays.isGray);
            hn::StoreU(hn::Add(level, hn::And(isGray, shortGrays(grays.value))), kBytes, levels + i);  // less one
            const Bytes others = hn::AndNot(isGray, uncertain);
            if (hn::AllTrue(kBytes, hn::Eq(others, zero))) continue;
            alignas(32) std::uint8_t again[kLanes];
            hn::StoreU(others, kBytes, again);
            for (int k = 0; k < kLanes; ++k) {
                if (again[k]) levels[i + k] = levelAt(i + k);
            }
        }
    }
    for (; i < count; ++i) levels[i] = levelAt(i);
}

// --- counts ---------------------------------------------------------------------------------------------------------

void CountAbove(const std::uint8_t* bytes, std::ptrdiff_t count, const std::uint8_t* limits, std::uint32_t* counts) {
    const auto top = hn::Set(kBytes, 128);  // turned over, unsigned bytes compare as signed ones
    hn::Vec<decltype(kSignedBytes)> limit[kLevelLimits];
    for (int k = 0; k < kLevelLimits; ++k) {
        limit[k] = hn::BitCast(kSignedBytes, hn::Xor(hn::Set(kBytes, limits[k]), top));
    }
    std::ptrdiff_t i = 0;
    while (i + kLanes <= count) {
        constexpr std::ptrdiff_t kMost = 255 * kLanes;  // what a byte can count
        const std::ptrdiff_t left = (count - i) / kLanes * kLanes, end = i + (left < kMost ? left : kMost);
        Bytes above[kLevelLimits];
        for (Bytes& each : above) each = hn::Zero(kBytes);
        for (; i < end; i += kLanes) {
            const auto value = hn::BitCast(kSignedBytes, hn::Xor(hn::LoadU(kBytes, bytes + i), top));
            for (int k = 0; k < kLevelLimits; ++k) {
                const auto isAbove = hn::VecFromMask(kSignedBytes, hn::Gt(value, limit[k]));
                above[k] = hn::Sub(above[k], hn::BitCast(kBytes, isAbove));
            }
        }
        const hn::Repartition<std::uint64_t, decltype(kBytes)> kSums;
        for (int k = 0; k < kLevelLimits; ++k) {
            counts[k] += static_cast<std::uint32_t>(hn::GetLane(hn::SumOfLanes(kSums, hn::SumsOf8(above[k]))));
        }
    }
    for (; i < count; ++i) {
        for (int k = 0; k < kLevelLimits; ++k) counts[k] += bytes[i] > limits[k] ? 1 : 0;
    }
}

// --- glow -----------------------------------------------------------------------------------------------------------

HWY_INLINE Bytes Apart(Bytes a, Bytes b) {
    return hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a));
}

// The whole root of each word. It is exact: a word fits a float, and the root of one short of n squared lies 1 / (2 n)
// or more below n, which is far more than the rounding of a float there.
HWY_INLINE Words Root(Words words) {
    Ints half[2] = {hn::BitCast(kInts, hn::InterleaveLower(kWords, words, hn::Zero(kWords))),
                    hn::BitCast(kInts, hn::InterleaveUpper(kWords, words, hn::Zero(kWords)))};
    for (Ints& ints : half) ints = hn::ConvertTo(kInts, hn::Sqrt(hn::ConvertTo(kFloats, ints)));
    return hn::BitCast(kWords, hn::ReorderDemote2To(kShorts, half[0], half[1]));
}

// Twice the sum of the squares. It saturates at 65535, whose root is 255, just as the glow does.
HWY_INLINE Words DoubledSquares(Words a, Words b) {
    const Words sum = hn::SaturatedAdd(hn::Mul(a, a), hn::Mul(b, b));
    return hn::SaturatedAdd(sum, sum);
}

HWY_INLINE Bytes GlowOf(Bytes here, Bytes aside, Bytes below) {
    const Halves across = Widen(Apart(here, aside)), down = Widen(Apart(here, below));
    return Narrow({Root(DoubledSquares(across.even, down.even)), Root(DoubledSquares(across.odd, down.odd))});
}

// What is left of a row goes through vectors of their own.
void Glow(const std::uint8_t* here, const std::uint8_t* aside, const std::uint8_t* below, std::uint8_t* dst,
          std::ptrdiff_t count) {
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        hn::StoreU(GlowOf(hn::LoadU(kBytes, here + i), hn::LoadU(kBytes, aside + i), hn::LoadU(kBytes, below + i)),
                   kBytes, dst + i);
    }
    if (i == count) return;
    alignas(32) std::uint8_t rest[3][kLanes] = {}, glow[kLanes];
    for (std::ptrdiff_t k = i; k < count; ++k) {
        rest[0][k - i] = here[k];
        rest[1][k - i] = aside[k];
        rest[2][k - i] = below[k];
    }
    hn::StoreU(GlowOf(hn::LoadU(kBytes, rest[0]), hn::LoadU(kBytes, rest[1]), hn::LoadU(kBytes, rest[2])), kBytes,
               glow);
    for (std::ptrdiff_t k = i; k < count; ++k) dst[k] = glow[k - i];
}

// --- dither ---------------------------------------------------------------------------------------------------------

// Level k is 255 k / n, rounded down, where n is the number of levels less one and k at most n. The whole part of 255 /
// n is multiplied by itself. Of the rest only a fraction f in 65536ths is left, rounded up: k f / 65536 is too large by
// less than k / 65536, and the next whole number is 1 / n or more away, which is not less, as k n < 65536.
struct DitherFactors {
    Words quotient;   // n
    Words remainder;  // cells and one more
    Words whole, fraction;

    explicit DitherFactors(const DitherTables& tables) {
        const unsigned n = static_cast<unsigned>(tables.levels - 1);
        quotient = hn::Set(kWords, static_cast<std::uint16_t>(n));
        remainder = hn::Set(kWords, static_cast<std::uint16_t>(tables.cells + 1));
        whole = hn::Set(kWords, static_cast<std::uint16_t>(255 / n));
        fraction = hn::Set(kWords, static_cast<std::uint16_t>((255 % n * 65536 + n - 1) / n));
    }
};

// A byte in the upper half of a word times a factor: the upper half of the product is the product divided by 256.
HWY_INLINE Bytes Divided(Bytes bytes, Words factor) {
    const Words words = hn::BitCast(kWords, bytes);
    const Words even = hn::MulHigh(hn::ShiftLeft<8>(words), factor);
    const Words odd = hn::MulHigh(hn::AndNot(hn::Set(kWords, 255), words), factor);
    return Narrow({even, odd});
}

HWY_INLINE Words LevelOf(Words k, const DitherFactors& factors) {
    return hn::Add(hn::Mul(k, factors.whole), hn::MulHigh(k, factors.fraction));
}

void Dither(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const DitherTables& tables,
            const DitherRow& row, int phase) {
    static_assert(kLanes <= DitherRow::kMore);
    const DitherFactors factors(tables);
    const std::ptrdiff_t period = row.period, ahead = kLanes % period;
    std::ptrdiff_t i = 0, at = phase;
    for (; i + kLanes <= count; i += kLanes) {
        const Bytes bytes = hn::LoadU(kBytes, src + i), threshold = hn::LoadU(kBytes, row.threshold + at);
        const Bytes remainder = Divided(bytes, factors.remainder);
        const auto takesUpper = hn::Eq(hn::Max(remainder, threshold), threshold);
        const Bytes index = hn::Sub(Divided(bytes, factors.quotient), hn::VecFromMask(kBytes, takesUpper));
        const Halves k = Widen(index);
        hn::StoreU(Narrow({LevelOf(k.even, factors), LevelOf(k.odd, factors)}), kBytes, dst + i);
        at += ahead;
        if (at >= period) at -= period;
    }
    for (; i < count; ++i) {
        const int upper = tables.remainder[src[i]] <= row.threshold[at] ? 1 : 0;
        dst[i] = static_cast<std::uint8_t>(tables.level[tables.quotient[src[i]] + upper]);
        if (++at == period) at = 0;
    }
}

}  // namespace

void ZOR_TIER_FUNCTION(InitTone)(ToneKernels* kernels) {
    kernels->luminance = Luminance;
    kernels->countAbove = CountAbove;
    kernels->glow = Glow;
    kernels->dither = Dither;
}

}  // namespace zor
