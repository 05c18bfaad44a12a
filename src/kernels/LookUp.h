// Included by sources of vector kernels only, see Vector.h: tables of 256 bytes in registers.

#include "kernels/Vector.h"

namespace zor {

namespace {

const hn::ScalableTag<std::uint8_t> kBytes;
using Bytes = hn::Vec<decltype(kBytes)>;
constexpr std::ptrdiff_t kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(hn::ScalableTag<std::uint8_t>()));

#if HWY_TARGET == HWY_NEON

// There is an instruction that looks 64 entries up and gives 0 for all others; Highway's look-ups have 16.
struct LookUp {
    uint8x16x4_t quarter[4];

    explicit LookUp(const std::uint8_t* table) {
        for (int q = 0; q < 4; ++q) quarter[q] = vld1q_u8_x4(table + 64 * q);
    }
    HWY_INLINE Bytes operator()(Bytes bytes) const {
        uint8x16_t index = bytes.raw;
        uint8x16_t result = vqtbl4q_u8(quarter[0], index);
        for (int q = 1; q < 4; ++q) {
            index = vsubq_u8(index, vdupq_n_u8(64));
            result = vqtbx4q_u8(result, quarter[q], index);
        }
        return Bytes(result);
    }
};

#else

// A shuffle looks 16 entries up, by the low half of an index byte, and gives 0 where the index is negative. So the
// table is cut into rows of 16, and each row is kept as its difference (exclusive or) to the row before. An index
// that loses 16 from row to row meets, before it turns negative, just the differences that add up to its own row:
//
//     byte 0x25:  index 0x25 -> row 0   0x15 -> row 1   0x05 -> row 2   negative from here on
//
// Rows 0 to 7 serve bytes below 128, which are positive; the others serve the rest, with the top bit turned over.
struct LookUp {
    static constexpr int kRows = 16, kHalf = 8;
    Bytes difference[kRows];

    explicit LookUp(const std::uint8_t* table) {
        for (int r = 0; r < kRows; ++r) {
            const Bytes row = hn::LoadDup128(kBytes, table + 16 * r);
            difference[r] = r % kHalf == 0 ? row : hn::Xor(row, hn::LoadDup128(kBytes, table + 16 * (r - 1)));
        }
    }
    HWY_INLINE Bytes operator()(Bytes bytes) const {
        const hn::RebindToSigned<decltype(kBytes)> kSigned;
        const auto step = hn::Set(kSigned, 16);
        auto low = hn::BitCast(kSigned, bytes);
        auto high = hn::Xor(low, hn::Set(kSigned, -128));
        Bytes lower = hn::TableLookupBytes(difference[0], hn::BitCast(kBytes, low));
        Bytes upper = hn::TableLookupBytes(difference[kHalf], hn::BitCast(kBytes, high));
        for (int r = 1; r < kHalf; ++r) {
            low = hn::SaturatedSub(low, step);  // what is negative stays so
            high = hn::SaturatedSub(high, step);
            lower = hn::Xor(lower, hn::TableLookupBytes(difference[r], hn::BitCast(kBytes, low)));
            upper = hn::Xor(upper, hn::TableLookupBytes(difference[kHalf + r], hn::BitCast(kBytes, high)));
        }
        return hn::Xor(lower, upper);
    }
};

#endif

}  // namespace

}  // namespace zor
