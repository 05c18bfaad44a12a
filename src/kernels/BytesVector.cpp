#include "kernels/Bytes.h"
#include "kernels/LookUp.h"

namespace zor {

namespace {

void Map(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count, const std::uint8_t* table) {
    std::ptrdiff_t i = 0;
    if (count >= kLanes) {
        const LookUp lookUp(table);
        for (; i + kLanes <= count; i += kLanes) hn::StoreU(lookUp(hn::LoadU(kBytes, src + i)), kBytes, dst + i);
    }
    for (; i < count; ++i) dst[i] = table[src[i]];
}

// --- arithmetic -----------------------------------------------------------------------------------------------------

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
    kernels->relief = Relief;
}

}  // namespace zor
