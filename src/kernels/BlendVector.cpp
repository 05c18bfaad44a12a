#include "kernels/Blend.h"
#include "kernels/VectorBlocks.h"

namespace zor {

namespace {

const hn::RepartitionToWide<decltype(kBytes)> kWords;
using Words = hn::Vec<decltype(kWords)>;
constexpr std::ptrdiff_t kLanes = kBlocks * kBlockBytes;

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

// floor(sum / 255) for sums up to 65025, given as sum + 1. With sum = 255 q + r, 257 times that is
// 65536 q + 257 (r + 1) - q, and what is added to 65536 q lies between 2 and 65535.
HWY_INLINE Words DividedBy255(Words sumAndOne) {
    return hn::MulHigh(sumAndOne, hn::Set(kWords, 257));
}

HWY_INLINE Words Quotients(Words a, Words b) {
    return DividedBy255(hn::Add(hn::Mul(a, b), hn::Set(kWords, 1)));
}

HWY_INLINE Bytes Products(Bytes a, Bytes b) {  // divided by 255
    const Halves x = Widen(a), y = Widen(b);
    return Narrow(Quotients(x.even, y.even), Quotients(x.odd, y.odd));
}

#if HWY_TARGET == HWY_NEON

HWY_INLINE Bytes Mixed(Bytes above, Bytes mask, Bytes below) {
    const uint8x16_t a = above.raw, m = mask.raw, b = below.raw, rest = vmvnq_u8(m);
    const uint16x8_t low = vmlal_u8(vmull_u8(vget_low_u8(a), vget_low_u8(rest)), vget_low_u8(m), vget_low_u8(b));
    const uint16x8_t high = vmlal_high_u8(vmull_high_u8(a, rest), m, b), one = vdupq_n_u16(1);
    const auto divided = [&](uint16x8_t sum) { return vaddhn_u16(vaddq_u16(sum, one), vshrq_n_u16(sum, 8)); };
    return Bytes(vcombine_u8(divided(low), divided(high)));
}

#else

// One instruction multiplies unsigned bytes with signed ones and adds the products of neighbours, where that fits 15
// bits and a sign. The weights, a mask byte and what it lacks to 255, are the unsigned ones; the samples are taken 128
// lower, which lowers the sum by 128 * 255 = 32640, to -32640 to 32385.
HWY_INLINE Words MixedWords(Bytes weights, Bytes samples) {
#if HWY_TARGET == HWY_AVX2
    const Words sums{_mm256_maddubs_epi16(weights.raw, samples.raw)};
#else
    const Words sums{_mm_maddubs_epi16(weights.raw, samples.raw)};
#endif
    return DividedBy255(hn::Add(sums, hn::Set(kWords, 32640 + 1)));
}

HWY_INLINE Bytes Mixed(Bytes above, Bytes mask, Bytes below) {
    const Bytes middle = hn::Set(kBytes, 128), rest = hn::Not(mask);
    const Bytes a = hn::Xor(above, middle), b = hn::Xor(below, middle);
    const Words low = MixedWords(hn::InterleaveLower(kBytes, rest, mask), hn::InterleaveLower(kBytes, a, b));
    const Words high = MixedWords(hn::InterleaveUpper(kBytes, rest, mask), hn::InterleaveUpper(kBytes, a, b));
#if HWY_TARGET == HWY_AVX2
    return Bytes{_mm256_packus_epi16(low.raw, high.raw)};
#else
    return Bytes{_mm_packus_epi16(low.raw, high.raw)};
#endif
}

#endif

// What is left of a row goes through the plain arithmetic.
std::uint8_t Divided(unsigned sum) {
    return static_cast<std::uint8_t>((sum + 1 + (sum >> 8)) >> 8);
}

void Mix(std::uint8_t* dst, const std::uint8_t* above, const std::uint8_t* mask, std::ptrdiff_t bytes) {
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= bytes; i += kLanes) {
        AskAhead(dst + i, kLanes);
        AskAhead(above + i, kLanes);
        AskAhead(mask + i, kLanes);
        const Bytes mixed =
            Mixed(hn::LoadU(kBytes, above + i), hn::LoadU(kBytes, mask + i), hn::LoadU(kBytes, dst + i));
        hn::StoreU(mixed, kBytes, dst + i);
    }
    for (; i < bytes; ++i) dst[i] = Divided(above[i] * (255u - mask[i]) + unsigned{mask[i]} * dst[i]);
}

void AddOverOther(std::uint8_t* dst, const std::uint8_t* above, const std::uint8_t* mask, const std::uint8_t* below,
                  std::ptrdiff_t bytes) {
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= bytes; i += kLanes) {
        AskAhead(dst + i, kLanes);
        AskAhead(above + i, kLanes);
        AskAhead(mask + i, kLanes);
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
