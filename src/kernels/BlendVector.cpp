#include "kernels/Blend.h"
#include "kernels/Vector.h"

namespace zor {

namespace {

const hn::ScalableTag<std::uint8_t> kBytes;
const hn::RepartitionToWide<decltype(kBytes)> kWords;
using Bytes = hn::Vec<decltype(kBytes)>;
using Words = hn::Vec<decltype(kWords)>;
constexpr std::ptrdiff_t kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(hn::ScalableTag<std::uint8_t>()));

// The bytes of a vector as words, the even and the odd ones. Nothing crosses a lane on the way there and back.
struct Halves {
    Words even, odd;
};

HWY_INLINE Halves Widen(Bytes bytes) {
    const Words words = hn::BitCast(kWords, bytes);
    return {hn::And(words, hn::Set(kWords, 255)), hn::ShiftRight<8>(words)};
}

// Of words below 256.
HWY_INLINE Bytes Narrow(Words even, Words odd) {
    return hn::BitCast(kBytes, hn::Or(even, hn::ShiftLeft<8>(odd)));
}

// floor(sum / 255) for sums up to 65025; see DivideBy255 in kernels/Mixing.h.
HWY_INLINE Words DividedBy255(Words sum) {
    return hn::ShiftRight<8>(hn::Add(hn::Add(sum, hn::Set(kWords, 1)), hn::ShiftRight<8>(sum)));
}

HWY_INLINE Bytes Products(Bytes a, Bytes b) {  // divided by 255
    const Halves x = Widen(a), y = Widen(b);
    return Narrow(DividedBy255(hn::Mul(x.even, y.even)), DividedBy255(hn::Mul(x.odd, y.odd)));
}

HWY_INLINE Words MixedWords(Words above, Words mask, Words below) {
    const Words rest = hn::Sub(hn::Set(kWords, 255), mask);
    return DividedBy255(hn::Add(hn::Mul(above, rest), hn::Mul(mask, below)));
}

// What is left of a row goes through the plain arithmetic.
std::uint8_t Divided(unsigned sum) {
    return static_cast<std::uint8_t>((sum + 1 + (sum >> 8)) >> 8);
}

void Mix(std::uint8_t* dst, const std::uint8_t* above, const std::uint8_t* mask, std::ptrdiff_t bytes) {
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= bytes; i += kLanes) {
        const Halves a = Widen(hn::LoadU(kBytes, above + i)), m = Widen(hn::LoadU(kBytes, mask + i)),
                     d = Widen(hn::LoadU(kBytes, dst + i));
        hn::StoreU(Narrow(MixedWords(a.even, m.even, d.even), MixedWords(a.odd, m.odd, d.odd)), kBytes, dst + i);
    }
    for (; i < bytes; ++i) dst[i] = Divided(above[i] * (255u - mask[i]) + unsigned{mask[i]} * dst[i]);
}

void AddOverOther(std::uint8_t* dst, const std::uint8_t* above, const std::uint8_t* mask, const std::uint8_t* below,
                  std::ptrdiff_t bytes) {
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= bytes; i += kLanes) {
        const Bytes left = Products(hn::LoadU(kBytes, mask + i), hn::LoadU(kBytes, below + i));
        hn::StoreU(hn::Add(hn::LoadU(kBytes, above + i), left), kBytes, dst + i);
    }
    for (; i < bytes; ++i) dst[i] = static_cast<std::uint8_t>(above[i] + Divided(unsigned{mask[i]} * below[i]));
}

void AddOver(std::uint8_t* dst, const std::uint8_t* above, const std::uint8_t* mask, std::ptrdiff_t bytes) {
    AddOverOther(dst, above, mask, dst, bytes);
}

void Add(std::uint8_t* dst, const std::uint8_t* above, const std::uint8_t* mask, std::ptrdiff_t bytes) {
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= bytes; i += kLanes) {
        hn::StoreU(hn::Add(hn::LoadU(kBytes, above + i), hn::LoadU(kBytes, mask + i)), kBytes, dst + i);
    }
    for (; i < bytes; ++i) dst[i] = static_cast<std::uint8_t>(above[i] + mask[i]);
}

// --- replication ----------------------------------------------------------------------------------------------------

void Replicate3(std::uint8_t* dst, const std::uint8_t* src, std::ptrdiff_t count) {
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const Bytes bytes = hn::LoadU(kBytes, src + i);
        hn::StoreInterleaved3(bytes, bytes, bytes, kBytes, dst + 3 * i);
    }
    for (; i < count; ++i) dst[3 * i] = dst[3 * i + 1] = dst[3 * i + 2] = src[i];
}

void Replicate4Opaque(std::uint8_t* dst, const std::uint8_t* src, int alphaAt, std::ptrdiff_t count) {
    const hn::Repartition<std::uint32_t, decltype(kBytes)> kPixels;
    const Bytes opaque = hn::BitCast(kBytes, hn::Set(kPixels, std::uint32_t{255} << 8 * alphaAt));
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const Bytes bytes = hn::LoadU(kBytes, src + i);
        hn::StoreInterleaved4(bytes, bytes, bytes, bytes, kBytes, dst + 4 * i);
        for (std::ptrdiff_t k = 0; k < 4 * kLanes; k += kLanes) {
            std::uint8_t* const pixels = dst + 4 * i + k;
            hn::StoreU(hn::Or(hn::LoadU(kBytes, pixels), opaque), kBytes, pixels);
        }
    }
    for (; i < count; ++i) {
        for (int k = 0; k < 4; ++k) dst[4 * i + k] = k == alphaAt ? 255 : src[i];
    }
}

// Byte alphaAt of each pixel of four into all four: a shuffle that stays within blocks of four pixels.
void ReplicateAlpha(std::uint8_t* dst, const std::uint8_t* pixels, int alphaAt, std::ptrdiff_t count) {
    alignas(16) std::uint8_t alphaOf[16];
    for (int k = 0; k < 16; ++k) alphaOf[k] = static_cast<std::uint8_t>(k / 4 * 4 + alphaAt);
    const Bytes indices = hn::LoadDup128(kBytes, alphaOf);
    const std::ptrdiff_t bytes = 4 * count;
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= bytes; i += kLanes) {
        hn::StoreU(hn::TableLookupBytes(hn::LoadU(kBytes, pixels + i), indices), kBytes, dst + i);
    }
    for (; i < bytes; ++i) dst[i] = pixels[i / 4 * 4 + alphaAt];
}

}  // namespace

void ZOR_TIER_FUNCTION(InitBlend)(BlendKernels* kernels) {
    kernels->mix = Mix;
    kernels->addOver = AddOver;
    kernels->addOverOther = AddOverOther;
    kernels->add = Add;
    kernels->replicate3 = Replicate3;
    kernels->replicate4Opaque = Replicate4Opaque;
    kernels->replicateAlpha = ReplicateAlpha;
}

}  // namespace zor
