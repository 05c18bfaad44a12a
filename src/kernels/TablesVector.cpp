#include "kernels/LookUp.h"
#include "kernels/Tables.h"

namespace zor {

namespace {

const hn::RepartitionToWide<decltype(kBytes)> kWords;
using Words = hn::Vec<decltype(kWords)>;

// --- ways through a table -------------------------------------------------------------------------------------------

// Any table.
struct ByLookUp {
    LookUp lookUp;
    explicit ByLookUp(const ByteCurve& curve) : lookUp(curve.table.entry) {}
    HWY_INLINE Bytes operator()(Bytes bytes) const { return lookUp(bytes); }
};

#if HWY_TARGET == HWY_NEON

constexpr bool kHasLines = false;  // the look-up is short enough there
using ByLines = ByLookUp;
using ByLinesAndRows = ByLookUp;

#else

constexpr bool kHasLines = true;
// The sums of pairs of products of a byte and a signed one.
#if HWY_TARGET == HWY_AVX2
HWY_INLINE Words PairProducts(Bytes bytes, Bytes factors) {
    return Words{_mm256_maddubs_epi16(bytes.raw, factors.raw)};
}
#else
HWY_INLINE Words PairProducts(Bytes bytes, Bytes factors) {
    return Words{_mm_maddubs_epi16(bytes.raw, factors.raw)};
}
#endif

// A smooth curve: see ByteCurve. As in LookUp, shuffles give 0 for an index from 128 on. So the two halves of the bits
// come from one shuffle each, and a row of its own from one by an index that saturates outside of that row.
template <bool kWithRows>
struct OnLines {
    Bytes slope, base, bits[2], start[ByteCurve::kRough], more[ByteCurve::kRough], bitOfRow;

    explicit OnLines(const ByteCurve& curve) {
        alignas(16) static constexpr std::uint8_t kBitOfRow[16] = {1, 2, 4, 8, 16, 32, 64, 128,
                                                                   1, 2, 4, 8, 16, 32, 64, 128};
        slope = hn::BitCast(kBytes, hn::LoadDup128(hn::RebindToSigned<decltype(kBytes)>(), curve.slope));
        base = hn::LoadDup128(kBytes, curve.base);
        bitOfRow = hn::LoadDup128(kBytes, kBitOfRow);
        for (int k = 0; k < 2; ++k) bits[k] = hn::LoadDup128(kBytes, curve.bits[k]);
        for (int k = 0; k < ByteCurve::kRough; ++k) {
            start[k] = hn::Set(kBytes, curve.start[k]);
            more[k] = hn::LoadDup128(kBytes, curve.more[k]);
        }
    }
    HWY_INLINE Bytes operator()(Bytes bytes) const {
        const Words words = hn::BitCast(kWords, bytes);
        const Bytes row = hn::And(hn::BitCast(kBytes, hn::ShiftRight<4>(words)), hn::Set(kBytes, 15));
        const Bytes factors = hn::TableLookupBytes(slope, row);
        // Each product has its byte 4 bits up: the even ones go down by them, the odd ones up.
        const Words even = PairProducts(hn::BitCast(kBytes, hn::And(words, hn::Set(kWords, 0x000F))), factors);
        const Words odd = PairProducts(hn::BitCast(kBytes, hn::And(words, hn::Set(kWords, 0x0F00))), factors);
        const Words low = hn::Set(kWords, 0x00FF);
        const Words line = hn::Or(hn::And(hn::ShiftRight<4>(even), low), hn::AndNot(low, hn::ShiftLeft<4>(odd)));
        const Bytes lower = hn::TableLookupBytes(bits[0], bytes);
        const Bytes upper = hn::TableLookupBytes(bits[1], hn::Xor(bytes, hn::Set(kBytes, 128)));
        const Bytes bit = hn::TableLookupBytes(bitOfRow, row);
        const auto isSet = hn::Eq(hn::And(hn::Or(lower, upper), bit), bit);
        Bytes result = hn::Add(hn::BitCast(kBytes, line), hn::TableLookupBytes(base, row));
        result = hn::Sub(result, hn::VecFromMask(kBytes, isSet));
        if constexpr (kWithRows) {
            for (int k = 0; k < ByteCurve::kRough; ++k) {
                const Bytes index = hn::SaturatedAdd(hn::Sub(bytes, start[k]), hn::Set(kBytes, 0x70));
                result = hn::Add(result, hn::TableLookupBytes(more[k], index));
            }
        }
        return result;
    }
};
using ByLines = OnLines<false>;
using ByLinesAndRows = OnLines<true>;

#endif

// --- planes ---------------------------------------------------------------------------------------------------------

// As many vectors as tables, whose bytes take turns, become one vector for each table, and the other way round by the
// same steps. Where in its vector a byte comes to stand is all the same to a look-up, so nothing is sorted: bytes stay
// at their place and change vectors, or change places with the neighbour.

HWY_INLINE void Exchange2(Bytes& a, Bytes& b) {
    const auto x = hn::BitCast(kWords, a), y = hn::BitCast(kWords, b), low = hn::Set(kWords, 0x00FF);
    a = hn::BitCast(kBytes, hn::Or(hn::And(x, low), hn::ShiftLeft<8>(y)));
    b = hn::BitCast(kBytes, hn::Or(hn::ShiftRight<8>(x), hn::AndNot(low, y)));
}

HWY_INLINE void Exchange4(Bytes (&v)[4]) {
    const hn::Repartition<std::uint32_t, decltype(kBytes)> kInts;
    Exchange2(v[0], v[1]);
    Exchange2(v[2], v[3]);
    const auto low = hn::Set(kInts, 0x0000FFFF);
    for (int k = 0; k < 2; ++k) {
        const auto x = hn::BitCast(kInts, v[k]), y = hn::BitCast(kInts, v[k + 2]);
        v[k] = hn::BitCast(kBytes, hn::Or(hn::And(x, low), hn::ShiftLeft<16>(y)));
        v[k + 2] = hn::BitCast(kBytes, hn::Or(hn::ShiftRight<16>(x), hn::AndNot(low, y)));
    }
}

// Of three vectors whose first bytes belong to tables 0, 2 and 1. In column p two of the three change places: the last
// two where p is a multiple of three, the first two one column further on, the outer two in the next.
struct Exchange3 {
    Bytes column[3];  // 255 where p % 3 is that

    Exchange3() {
        alignas(32) std::uint8_t marks[3][kLanes];
        for (int k = 0; k < 3; ++k) {
            for (int p = 0; p < kLanes; ++p) marks[k][p] = p % 3 == k ? 255 : 0;
            column[k] = hn::LoadU(kBytes, marks[k]);
        }
    }
    HWY_INLINE void operator()(Bytes (&v)[3]) const {
        const Bytes last = hn::And(hn::Xor(v[1], v[2]), column[0]);
        const Bytes first = hn::And(hn::Xor(v[0], v[1]), column[1]);
        const Bytes outer = hn::And(hn::Xor(v[0], v[2]), column[2]);
        v[0] = hn::Xor(v[0], hn::Xor(first, outer));
        v[1] = hn::Xor(v[1], hn::Xor(first, last));
        v[2] = hn::Xor(v[2], hn::Xor(outer, last));
    }
};

// Where in a block of three the vector stands that begins with a byte of table 2, and the other.
static_assert(kLanes % 3 == 1 || kLanes % 3 == 2);
constexpr std::ptrdiff_t kSecond = kLanes % 3 == 2 ? kLanes : 2 * kLanes;
constexpr std::ptrdiff_t kThird = 3 * kLanes - kSecond;

// --- tables in turn -------------------------------------------------------------------------------------------------

template <class Way>
std::ptrdiff_t MapByOne(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const ByteCurve* curves) {
    const Way way(curves[0]);
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) hn::StoreU(way(hn::LoadU(kBytes, src + i)), kBytes, dst + i);
    return i;
}

template <class Way>
std::ptrdiff_t MapByTwo(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const ByteCurve* curves) {
    const Way first(curves[0]), second(curves[1]);
    std::ptrdiff_t i = 0;
    for (; i + 2 * kLanes <= count; i += 2 * kLanes) {
        Bytes a = hn::LoadU(kBytes, src + i), b = hn::LoadU(kBytes, src + i + kLanes);
        Exchange2(a, b);
        a = first(a);
        b = second(b);
        Exchange2(a, b);
        hn::StoreU(a, kBytes, dst + i);
        hn::StoreU(b, kBytes, dst + i + kLanes);
    }
    return i;
}

template <class Way>
std::ptrdiff_t MapByThree(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const ByteCurve* curves) {
    const Way first(curves[0]), second(curves[1]), third(curves[2]);
    const Exchange3 exchange;
    std::ptrdiff_t i = 0;
    for (; i + 3 * kLanes <= count; i += 3 * kLanes) {
        Bytes v[3] = {hn::LoadU(kBytes, src + i), hn::LoadU(kBytes, src + i + kSecond),
                      hn::LoadU(kBytes, src + i + kThird)};
        exchange(v);
        v[0] = first(v[0]);
        v[1] = second(v[1]);
        v[2] = third(v[2]);
        exchange(v);
        hn::StoreU(v[0], kBytes, dst + i);
        hn::StoreU(v[1], kBytes, dst + i + kSecond);
        hn::StoreU(v[2], kBytes, dst + i + kThird);
    }
    return i;
}

template <class Way>
std::ptrdiff_t MapByFour(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const ByteCurve* curves) {
    const Way first(curves[0]), second(curves[1]), third(curves[2]), fourth(curves[3]);
    std::ptrdiff_t i = 0;
    for (; i + 4 * kLanes <= count; i += 4 * kLanes) {
        Bytes v[4];
        for (int k = 0; k < 4; ++k) v[k] = hn::LoadU(kBytes, src + i + k * kLanes);
        Exchange4(v);
        v[0] = first(v[0]);
        v[1] = second(v[1]);
        v[2] = third(v[2]);
        v[3] = fourth(v[3]);
        Exchange4(v);
        for (int k = 0; k < 4; ++k) hn::StoreU(v[k], kBytes, dst + i + k * kLanes);
    }
    return i;
}

// How many bytes are done.
template <class Way>
std::ptrdiff_t MapBlocks(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const ByteCurve* curves,
                         int period) {
    switch (period) {
        case 1:
            return MapByOne<Way>(src, dst, count, curves);
        case 2:
            return MapByTwo<Way>(src, dst, count, curves);
        case 3:
            return MapByThree<Way>(src, dst, count, curves);
        case 4:
            return MapByFour<Way>(src, dst, count, curves);
    }
    return 0;
}

void MapInTurn(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const ByteCurve* curves, int period) {
    std::ptrdiff_t done = 0;
    if (count >= period * kLanes) {
        bool smooth = kHasLines;
        int rough = 0;
        for (int k = 0; k < period; ++k) {
            smooth = smooth && curves[k].smooth;
            rough += curves[k].rough;
        }
        done = !smooth ? MapBlocks<ByLookUp>(src, dst, count, curves, period)
               : rough ? MapBlocks<ByLinesAndRows>(src, dst, count, curves, period)
                       : MapBlocks<ByLines>(src, dst, count, curves, period);
    }
    for (; done < count; ++done) dst[done] = curves[done % period].table.entry[src[done]];
}

}  // namespace

void ZOR_TIER_FUNCTION(InitTables)(TablesKernels* kernels) {
    kernels->mapInTurn = MapInTurn;
}

}  // namespace zor
