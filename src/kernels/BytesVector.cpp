#include "kernels/Bytes.h"
#include "kernels/Vector.h"

namespace zor {

namespace {

const hn::ScalableTag<std::uint8_t> kBytes;
using Bytes = hn::Vec<decltype(kBytes)>;
constexpr std::ptrdiff_t kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(hn::ScalableTag<std::uint8_t>()));

// --- look-up --------------------------------------------------------------------------------------------------------

#if HWY_TARGET == HWY_NEON

// There is an instruction that looks 64 entries up and gives 0 for all others; Highway's look-ups have 16.
struct LookUp {
    uint8x16x4_t quarter[4];

    explicit LookUp(const std::uint8_t* table) {
        for (int q = 0; q < 4; ++q) quarter[q] = vld1q_u8_x4(table + 64 * q);
    }
    Bytes operator()(Bytes bytes) const {
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
    Bytes operator()(Bytes bytes) const {
        const hn::RebindToSigned<decltype(kBytes)> kSigned;
        const auto step = hn::Set(kSigned, 16);
        auto low = hn::BitCast(kSigned, bytes);
        auto high = hn::Xor(low, hn::Set(kSigned, -128));
        Bytes result = hn::Zero(kBytes);
        for (int r = 0; r < kHalf; ++r) {
            result = hn::Xor(result, hn::TableLookupBytes(difference[r], hn::BitCast(kBytes, low)));
            result = hn::Xor(result, hn::TableLookupBytes(difference[kHalf + r], hn::BitCast(kBytes, high)));
            low = hn::SaturatedSub(low, step);  // what is negative stays so
            high = hn::SaturatedSub(high, step);
        }
        return result;
    }
};

#endif

void Map(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const std::uint8_t* table) {
    std::ptrdiff_t i = 0;
    if (count >= kLanes) {
        const LookUp lookUp(table);
        for (; i + kLanes <= count; i += kLanes) hn::StoreU(lookUp(hn::LoadU(kBytes, src + i)), kBytes, dst + i);
    }
    for (; i < count; ++i) dst[i] = table[src[i]];
}

// --- arithmetic -----------------------------------------------------------------------------------------------------

void Complement(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count) {
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) hn::StoreU(hn::Not(hn::LoadU(kBytes, src + i)), kBytes, dst + i);
    for (; i < count; ++i) dst[i] = static_cast<std::uint8_t>(255 - src[i]);
}

// here - there + 128 is cut by itself when both are taken as signed bytes: 128 less each, they differ by the same, and
// the difference that saturates at -128 and 127 is 128 less than the one that is cut to 0 and 255.
void Relief(const std::uint8_t* here, const std::uint8_t* there, std::uint8_t* dst, std::ptrdiff_t count) {
    const hn::RebindToSigned<decltype(kBytes)> kSigned;
    const Bytes top = hn::Set(kBytes, 128);
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const auto a = hn::BitCast(kSigned, hn::Xor(hn::LoadU(kBytes, here + i), top));
        const auto b = hn::BitCast(kSigned, hn::Xor(hn::LoadU(kBytes, there + i), top));
        hn::StoreU(hn::Xor(hn::BitCast(kBytes, hn::SaturatedSub(a, b)), top), kBytes, dst + i);
    }
    for (; i < count; ++i) {
        const int value = here[i] - there[i] + 128;
        dst[i] = static_cast<std::uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
    }
}

}  // namespace

void ZOR_TIER_FUNCTION(InitBytes)(BytesKernels* kernels) {
    kernels->map = Map;
    kernels->complement = Complement;
    kernels->relief = Relief;
}

}  // namespace zor
