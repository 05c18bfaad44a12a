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
// Those pixels are looked at again: grays, which are always such, in a table, and others one by one.
struct Levels {
    Bytes level;      // N / 1000, rounded down
    Bytes uncertain;  // 255 where N is a multiple
};

// Eight of sixteen pixels in every block of 16 bytes: as pairs of bytes red and green, and blue and 0.
struct EightLevels {
    Shorts level, uncertain;
};
struct LuminanceWeights {
    Shorts redGreen, blue;
};

// N / 1000 = (N / 8) / 125, and for m = N / 8 < 59074 the quotient m / 125 is m 33555 / 2^22: what the factor is too
// large by, 71 / (125 2^22), stays below the 1 / 125 that the next whole number is away.
HWY_INLINE EightLevels LevelsOfEight(Bytes redGreen, Bytes blue, const LuminanceWeights& weights) {
    const Bytes zero = hn::Zero(kBytes);
    Ints sum[2];
    for (int k = 0; k < 2; ++k) {
        const Bytes rg = k ? hn::InterleaveUpper(kBytes, redGreen, zero) : hn::InterleaveLower(kBytes, redGreen, zero);
        const Bytes b = k ? hn::InterleaveUpper(kBytes, blue, zero) : hn::InterleaveLower(kBytes, blue, zero);
        Ints rest = hn::Zero(kInts);
        const Ints first =
            hn::ReorderWidenMulAccumulate(kInts, hn::BitCast(kShorts, rg), weights.redGreen, hn::Zero(kInts), rest);
        const Ints both = hn::ReorderWidenMulAccumulate(kInts, hn::BitCast(kShorts, b), weights.blue, first, rest);
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

// Bytes 0 or 255 and levels, of words.
alignas(16) constexpr std::uint8_t kToLower[16] = {0, 2, 4, 6, 8, 10, 12, 14, 128, 128, 128, 128, 128, 128, 128, 128};
alignas(16) constexpr std::uint8_t kToUpper[16] = {128, 128, 128, 128, 128, 128, 128, 128, 0, 2, 4, 6, 8, 10, 12, 14};

HWY_INLINE Bytes LowBytes(Shorts lower, Shorts upper) {
    return hn::Or(hn::TableLookupBytesOr0(hn::BitCast(kBytes, lower), hn::LoadDup128(kBytes, kToLower)),
                  hn::TableLookupBytesOr0(hn::BitCast(kBytes, upper), hn::LoadDup128(kBytes, kToUpper)));
}

HWY_INLINE Levels LevelsOf(Bytes red, Bytes green, Bytes blue, const LuminanceWeights& weights) {
    const Bytes zero = hn::Zero(kBytes);
    const EightLevels a =
        LevelsOfEight(hn::InterleaveLower(kBytes, red, green), hn::InterleaveLower(kBytes, blue, zero), weights);
    const EightLevels b =
        LevelsOfEight(hn::InterleaveUpper(kBytes, red, green), hn::InterleaveUpper(kBytes, blue, zero), weights);
    return {LowBytes(a.level, b.level), LowBytes(a.uncertain, b.uncertain)};
}

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

void CountLevels(const std::uint8_t* level, LevelCounts* counts) {
    static_assert(kLanes % 8 == 0 && LevelCounts::kLanes == 8);
    for (int k = 0; k < kLanes; k += 8) {
        ++counts->lane[0][level[k]];
        ++counts->lane[1][level[k + 1]];
        ++counts->lane[2][level[k + 2]];
        ++counts->lane[3][level[k + 3]];
        ++counts->lane[4][level[k + 4]];
        ++counts->lane[5][level[k + 5]];
        ++counts->lane[6][level[k + 6]];
        ++counts->lane[7][level[k + 7]];
    }
}

void Luminance(const PixelRun& rgb, std::ptrdiff_t count, const LuminanceParts& parts, LevelCounts* counts) {
    const std::ptrdiff_t red = rgb.channels.offset[0], green = rgb.channels.offset[1], blue = rgb.channels.offset[2];
    const std::ptrdiff_t step = rgb.step;
    const std::uint8_t* const pixels = rgb.pixels;
    const auto levelAt = [&](std::ptrdiff_t i) {
        const std::uint8_t* const pixel = pixels + i * step;
        return static_cast<std::uint8_t>(parts.red[pixel[red]] + parts.green[pixel[green]] + parts.blue[pixel[blue]]);
    };
    std::ptrdiff_t i = 0;
    if (count > kLanes && LieSideBySide(rgb)) {
        const std::ptrdiff_t lowest = red < green ? (red < blue ? red : blue) : (green < blue ? green : blue);
        const LuminanceWeights weights = {
            hn::BitCast(kShorts, hn::Set(kInts, parts.thousandths[1] << 16 | parts.thousandths[0])),
            hn::BitCast(kShorts, hn::Set(kInts, parts.thousandths[2]))};
        const LookUp ofGray(parts.ofGray);
        // Bytes behind the last channel of the last pixel are not read: one pixel more than a block is there.
        for (; i + kLanes < count; i += kLanes) {
            const std::uint8_t* const from = pixels + i * step + lowest;
            Bytes plane[4];
            if (step == 3) {
                hn::LoadInterleaved3(kBytes, from, plane[0], plane[1], plane[2]);
            } else {
                hn::LoadInterleaved4(kBytes, from, plane[0], plane[1], plane[2], plane[3]);
            }
            const Bytes r = plane[red - lowest], g = plane[green - lowest], b = plane[blue - lowest];
            Levels levels = LevelsOf(r, g, b, weights);
            alignas(32) std::uint8_t level[kLanes];
            const auto uncertain = hn::Ne(levels.uncertain, hn::Zero(kBytes));
            if (!hn::AllFalse(kBytes, uncertain)) {
                const auto isGray = hn::And(hn::Eq(r, g), hn::Eq(g, b));
                levels.level = hn::IfThenElse(hn::And(uncertain, isGray), ofGray(r), levels.level);
                hn::StoreU(levels.level, kBytes, level);
                const auto others = hn::AndNot(isGray, uncertain);
                if (!hn::AllFalse(kBytes, others)) {
                    alignas(32) std::uint8_t again[kLanes];
                    hn::StoreU(hn::VecFromMask(kBytes, others), kBytes, again);
                    for (int k = 0; k < kLanes; ++k) {
                        if (again[k]) level[k] = levelAt(i + k);
                    }
                }
            } else {
                hn::StoreU(levels.level, kBytes, level);
            }
            CountLevels(level, counts);
        }
    }
    for (; i < count; ++i) ++counts->lane[i % LevelCounts::kLanes][levelAt(i)];
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
    kernels->glow = Glow;
    kernels->dither = Dither;
}

}  // namespace zor
