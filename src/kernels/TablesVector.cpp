#include "kernels/LookUp.h"
#include "kernels/Tables.h"

namespace zor {

namespace {

void MapRest(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t first, std::ptrdiff_t count,
             const ByteTable* tables, int period) {
    for (std::ptrdiff_t i = first; i < count; ++i) dst[i] = tables[i % period].entry[src[i]];
}

// --- planes ---------------------------------------------------------------------------------------------------------

// As many vectors as tables, whose bytes take turns, become one vector for each table, and the other way round by the
// same steps. Where in its vector a byte comes to stand is all the same to a look-up, so nothing is sorted: bytes stay
// at their place and change vectors, or change places with the neighbour.

HWY_INLINE void Exchange2(Bytes& a, Bytes& b) {
    const hn::RepartitionToWide<decltype(kBytes)> kWords;
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

std::ptrdiff_t MapInTwo(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const ByteTable* tables) {
    const LookUp even(tables[0].entry), odd(tables[1].entry);
    std::ptrdiff_t i = 0;
    for (; i + 2 * kLanes <= count; i += 2 * kLanes) {
        Bytes a = hn::LoadU(kBytes, src + i), b = hn::LoadU(kBytes, src + i + kLanes);
        Exchange2(a, b);
        a = even(a);
        b = odd(b);
        Exchange2(a, b);
        hn::StoreU(a, kBytes, dst + i);
        hn::StoreU(b, kBytes, dst + i + kLanes);
    }
    return i;
}

std::ptrdiff_t MapInThree(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const ByteTable* tables) {
    const LookUp first(tables[0].entry), second(tables[1].entry), third(tables[2].entry);
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

std::ptrdiff_t MapInFour(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const ByteTable* tables) {
    const LookUp first(tables[0].entry), second(tables[1].entry), third(tables[2].entry), fourth(tables[3].entry);
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

void MapInTurn(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const ByteTable* tables, int period) {
    std::ptrdiff_t done = 0;
    if (count >= period * kLanes) {
        if (period == 2) done = MapInTwo(src, dst, count, tables);
        if (period == 3) done = MapInThree(src, dst, count, tables);
        if (period == 4) done = MapInFour(src, dst, count, tables);
    }
    MapRest(src, dst, done, count, tables, period);
}

}  // namespace

void ZOR_TIER_FUNCTION(InitTables)(TablesKernels* kernels) {
    kernels->mapInTurn = MapInTurn;
}

}  // namespace zor
