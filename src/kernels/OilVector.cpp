#include "kernels/Oil.h"
#include "kernels/Vector.h"

namespace zor {

namespace {

const hn::ScalableTag<std::uint8_t> kBytes;
const hn::Repartition<std::uint16_t, decltype(kBytes)> kWords;
const hn::Repartition<std::int32_t, decltype(kBytes)> kInts;
const hn::Repartition<float, decltype(kBytes)> kFloats;
using Bytes = hn::Vec<decltype(kBytes)>;
using Words = hn::Vec<decltype(kWords)>;
using Floats = hn::Vec<decltype(kFloats)>;
constexpr std::ptrdiff_t kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(hn::ScalableTag<std::uint8_t>()));

// --- counts ---------------------------------------------------------------------------------------------------------

// Class after class, so that each count is loaded and stored once. What is equal is 255 as a byte, and so - 1.
template <bool kLeaves, bool kEnters>
void SlideBoth(const OilCounts& counts, const std::uint8_t* leaves, const std::uint8_t* enters, std::ptrdiff_t count) {
    for (int k = 0; k < counts.classes; ++k) {
        std::uint8_t* const row = counts.count + k * counts.stride;
        const Bytes wanted = hn::Set(kBytes, static_cast<std::uint8_t>(k));
        std::ptrdiff_t i = 0;
        for (; i + kLanes <= count; i += kLanes) {
            Bytes changed = hn::LoadU(kBytes, row + i);
            if constexpr (kLeaves) {
                changed = hn::Add(changed, hn::VecFromMask(kBytes, hn::Eq(hn::LoadU(kBytes, leaves + i), wanted)));
            }
            if constexpr (kEnters) {
                changed = hn::Sub(changed, hn::VecFromMask(kBytes, hn::Eq(hn::LoadU(kBytes, enters + i), wanted)));
            }
            hn::StoreU(changed, kBytes, row + i);
        }
        for (; i < count; ++i) {
            const int change = (kEnters && enters[i] == k) - (kLeaves && leaves[i] == k);
            row[i] = static_cast<std::uint8_t>(row[i] + change);
        }
    }
}

void Slide(const OilCounts& counts, const std::uint8_t* leaves, const std::uint8_t* enters, std::ptrdiff_t count) {
    if (leaves && enters) return SlideBoth<true, true>(counts, leaves, enters, count);
    if (leaves) return SlideBoth<true, false>(counts, leaves, enters, count);
    if (enters) return SlideBoth<false, true>(counts, leaves, enters, count);
}

// --- the most frequent class ----------------------------------------------------------------------------------------

// With a constant number of columns the compiler keeps no loop.
template <int kColumns>
HWY_INLINE Bytes SumColumns(const std::uint8_t* counts, const OilColumns& columns) {
    const int number = kColumns > 0 ? kColumns : columns.count;
    Bytes sum = hn::LoadU(kBytes, counts);
    for (int j = 1; j < number; ++j) sum = hn::Add(sum, hn::LoadU(kBytes, counts + j * columns.step));
    return sum;
}

template <int kColumns>
std::ptrdiff_t ModesOfVectors(const OilCounts& counts, const OilColumns& given, std::ptrdiff_t count,
                              std::uint8_t* modes, std::uint8_t* times) {
    const OilColumns columns = given;
    const Bytes one = hn::Set(kBytes, 1);
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const std::uint8_t* row = counts.count + i;
        Bytes most = SumColumns<kColumns>(row, columns), mode = hn::Zero(kBytes), k = mode;
        for (int c = 1; c < counts.classes; ++c) {
            row += counts.stride;
            k = hn::Add(k, one);
            const Bytes sum = SumColumns<kColumns>(row, columns), larger = hn::Max(sum, most);
            // A class that is more frequent than all before it is also a larger number than they are.
            mode = hn::Max(mode, hn::AndNot(hn::VecFromMask(kBytes, hn::Eq(larger, most)), k));
            most = larger;
        }
        hn::StoreU(mode, kBytes, modes + i);
        hn::StoreU(most, kBytes, times + i);
    }
    return i;
}

void Mode(const OilCounts& counts, const OilColumns& columns, std::ptrdiff_t count, std::uint8_t* modes,
          std::uint8_t* times) {
    std::ptrdiff_t i = 0;
    switch (columns.count) {
        case 3:
            i = ModesOfVectors<3>(counts, columns, count, modes, times);
            break;
        case 5:
            i = ModesOfVectors<5>(counts, columns, count, modes, times);
            break;
        case 7:
            i = ModesOfVectors<7>(counts, columns, count, modes, times);
            break;
        default:
            i = ModesOfVectors<0>(counts, columns, count, modes, times);
    }
    for (; i < count; ++i) {
        int mode = 0, most = 0;
        for (int k = 0; k < counts.classes; ++k) {
            int sum = 0;
            for (int j = 0; j < columns.count; ++j) sum += counts.count[k * counts.stride + i + j * columns.step];
            if (sum <= most) continue;
            most = sum;
            mode = k;
        }
        modes[i] = static_cast<std::uint8_t>(mode);
        times[i] = static_cast<std::uint8_t>(most);
    }
}

// --- its mean -------------------------------------------------------------------------------------------------------

// The lower and the upper bytes of each block as words, and back.
struct WordPair {
    Words lower, upper;
};
HWY_INLINE WordPair Widened(Bytes bytes) {
    const Bytes zero = hn::Zero(kBytes);
    return {hn::BitCast(kWords, hn::InterleaveLower(kBytes, bytes, zero)),
            hn::BitCast(kWords, hn::InterleaveUpper(kBytes, bytes, zero))};
}
HWY_INLINE Bytes Narrowed(const WordPair& words) {
#if HWY_TARGET == HWY_AVX2
    return Bytes{_mm256_packus_epi16(words.lower.raw, words.upper.raw)};
#elif HWY_TARGET == HWY_SSE4
    return Bytes{_mm_packus_epi16(words.lower.raw, words.upper.raw)};
#else
    return hn::ConcatEven(kBytes, hn::BitCast(kBytes, words.upper), hn::BitCast(kBytes, words.lower));
#endif
}

// floor(a / b) for b from 1 to 255, by a division that rounds: a quotient that is no integer keeps at least 1 / 255 of
// distance to the next one, and is rounded by at most 1 / 512, as it is below 65536.
HWY_INLINE Words Quotients(Words a, Words b) {
    const Words zero = hn::Zero(kWords);
    const auto quotient = [&](auto interleave) {
        const Floats dividend = hn::ConvertTo(kFloats, hn::BitCast(kInts, interleave(a)));
        const Floats divisor = hn::ConvertTo(kFloats, hn::BitCast(kInts, interleave(b)));
        return hn::ConvertTo(kInts, hn::Div(dividend, divisor));
    };
    const auto lower = quotient([&](Words words) { return hn::InterleaveLower(kWords, words, zero); });
    const auto upper = quotient([&](Words words) { return hn::InterleaveUpper(kWords, words, zero); });
#if HWY_TARGET == HWY_AVX2
    return Words{_mm256_packus_epi32(lower.raw, upper.raw)};
#elif HWY_TARGET == HWY_SSE4
    return Words{_mm_packus_epi32(lower.raw, upper.raw)};
#else
    return hn::ConcatEven(kWords, hn::BitCast(kWords, upper), hn::BitCast(kWords, lower));
#endif
}

void Mean(const OilRows& rows, const OilColumns& columns, std::ptrdiff_t count, const std::uint8_t* modes,
          const std::uint8_t* times, const std::uint8_t* least, std::uint8_t* means) {
    // So many bytes can be added up before they have to become words.
    const int room = rows.mostExcess > 0 ? 255 / rows.mostExcess : 255;
    const bool rounds = rows.means == OilMeans::rounded;
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const Bytes mode = hn::LoadU(kBytes, modes + i);
        WordPair sum{hn::Zero(kWords), hn::Zero(kWords)};
        Bytes bytes = hn::Zero(kBytes);
        int left = room;
        const auto flush = [&] {
            const WordPair words = Widened(bytes);
            sum = {hn::Add(sum.lower, words.lower), hn::Add(sum.upper, words.upper)};
            bytes = hn::Zero(kBytes);
            left = room;
        };
        for (int r = 0; r < rows.count; ++r) {
            const std::uint8_t *classes = rows.classes[r] + i, *excess = rows.excess[r] + i;
            for (int j = 0; j < columns.count; ++j, classes += columns.step, excess += columns.step) {
                const auto counts = hn::Eq(hn::LoadU(kBytes, classes), mode);
                bytes = hn::Add(bytes, hn::And(hn::VecFromMask(kBytes, counts), hn::LoadU(kBytes, excess)));
                if (--left == 0) flush();
            }
        }
        flush();
        const WordPair divisors = Widened(hn::LoadU(kBytes, times + i));
        if (rounds) {
            sum = {hn::Add(sum.lower, hn::ShiftRight<1>(divisors.lower)),
                   hn::Add(sum.upper, hn::ShiftRight<1>(divisors.upper))};
        }
        const Bytes mean = Narrowed({Quotients(sum.lower, divisors.lower), Quotients(sum.upper, divisors.upper)});
        hn::StoreU(hn::Add(mean, hn::LoadU(kBytes, least + i)), kBytes, means + i);
    }
    for (; i < count; ++i) {
        int sum = 0;
        for (int r = 0; r < rows.count; ++r) {
            for (int j = 0; j < columns.count; ++j) {
                const std::ptrdiff_t at = i + j * columns.step;
                if (rows.classes[r][at] == modes[i]) sum += rows.excess[r][at];
            }
        }
        if (rounds) sum += times[i] / 2;
        means[i] = static_cast<std::uint8_t>(least[i] + sum / times[i]);
    }
}

}  // namespace

void ZOR_TIER_FUNCTION(InitOil)(OilKernels* kernels) {
    *kernels = {Slide, Mode, Mean};
}

}  // namespace zor
