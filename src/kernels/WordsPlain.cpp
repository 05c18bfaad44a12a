#include <bit>
#include <cstring>

#include "kernels/Words.h"

namespace zor {

namespace {

constexpr bool kLittleEndian = std::endian::native == std::endian::little;

constexpr int ShiftOfByte(std::ptrdiff_t offset) {
    return static_cast<int>(kLittleEndian ? 8 * offset : 24 - 8 * offset);
}

std::uint32_t LoadWord(const std::uint8_t* src) {
    std::uint32_t word;
    std::memcpy(&word, src, sizeof word);
    return word;
}

void StoreWord(std::uint8_t* dst, std::uint32_t word) {
    std::memcpy(dst, &word, sizeof word);
}

template <bool kMask>
void Move_Plain(const WordMove& given, std::uint8_t* __restrict dst, const std::uint8_t* __restrict src,
                const std::uint8_t* __restrict mask, std::ptrdiff_t count) {
    const WordMove move = given;  // the stores below cannot change a copy
    for (std::ptrdiff_t i = 0; i < 4 * count; i += 4) {
        const std::uint32_t srcWord = LoadWord(src + i);
        std::uint32_t word = LoadWord(dst + i) & move.keep;
        for (int c = 0; c < 3; ++c) word |= (srcWord >> move.srcShift[c] & 255) << move.dstShift[c];
        if constexpr (kMask) word |= (LoadWord(mask + i) >> move.maskShift & 255) << move.alphaShift;
        StoreWord(dst + i, word ^ move.fill);
    }
}

std::uint32_t Reversed(std::uint32_t word) {
    return word << 24 | (word & 0xFF00) << 8 | (word >> 8 & 0xFF00) | word >> 24;
}

// Four words become three.
template <bool kReversed, int kShift>
void Pack_Plain(const WordMove&, std::uint8_t* __restrict dst, const std::uint8_t* __restrict src, const std::uint8_t*,
                std::ptrdiff_t count) {
    const auto load = [src](std::ptrdiff_t pixel) {
        const std::uint32_t word = LoadWord(src + 4 * pixel);
        return (kReversed ? Reversed(word) : word) >> kShift & 0xFFFFFF;
    };
    std::ptrdiff_t i = 0;
    for (; i + 4 <= count; i += 4, dst += 12) {
        const std::uint32_t a = load(i), b = load(i + 1), c = load(i + 2), d = load(i + 3);
        StoreWord(dst, a | b << 24);
        StoreWord(dst + 4, b >> 8 | c << 16);
        StoreWord(dst + 8, c >> 16 | d << 8);
    }
    for (; i < count; ++i, dst += 3) {
        const std::uint32_t word = load(i);
        for (int byte = 0; byte < 3; ++byte) dst[byte] = static_cast<std::uint8_t>(word >> 8 * byte);
    }
}

// Those orders that pictures and images have; null for others.
WordsFn PickPack(const WordsKernels& kernels, const WordMove& move) {
    if (!kLittleEndian) return nullptr;
    for (int i = 0; i < 4; ++i) {
        const bool reversed = i >= 2;
        const int shift = i % 2 * 8;
        bool fits = true;
        for (int c = 0; c < 3; ++c) {
            const int srcShift = reversed ? 24 - move.srcShift[c] : move.srcShift[c];
            fits = fits && srcShift - shift == move.dstShift[c];
        }
        if (fits) return kernels.pack[i];
    }
    return nullptr;
}

bool LieInside(const WordPixel& pixel) {
    for (int c = 0; c < 3; ++c) {
        if (pixel.colours[c] < 0 || pixel.colours[c] >= pixel.step) return false;
    }
    return true;
}

}  // namespace

WordsFn PickWords(const WordsKernels& kernels, const WordPixel& dst, const WordPixel& src, const WordAlpha& alpha,
                  WordMove* move) {
    if (src.step != 4 || dst.step < 3 || dst.step > 4 || !LieInside(src) || !LieInside(dst)) return nullptr;
    *move = {};
    std::uint32_t written = 0;
    for (int c = 0; c < 3; ++c) {
        move->srcShift[c] = ShiftOfByte(src.colours[c]);
        move->dstShift[c] = ShiftOfByte(dst.colours[c]);
        written |= std::uint32_t{255} << move->dstShift[c];
    }
    const bool onColour = alpha.at == dst.colours[0] || alpha.at == dst.colours[1] || alpha.at == dst.colours[2];
    const bool hasAlpha = alpha.from != WordAlpha::From::nowhere && !onColour;
    if (hasAlpha && (alpha.at < 0 || alpha.at >= dst.step)) return nullptr;
    if (dst.step == 3) return hasAlpha ? nullptr : PickPack(kernels, *move);
    const bool masked = hasAlpha && alpha.from == WordAlpha::From::mask;
    if (masked && (alpha.maskAt < 0 || alpha.maskAt >= 4)) return nullptr;
    if (hasAlpha) {
        move->alphaShift = ShiftOfByte(alpha.at);
        written |= std::uint32_t{255} << move->alphaShift;
        move->fill = std::uint32_t{alpha.value} << move->alphaShift;
    }
    move->keep = ~written;
    if (!masked) return kernels.move;
    move->maskShift = ShiftOfByte(alpha.maskAt);
    return kernels.moveMasked;
}

void InitWords_Plain(WordsKernels* kernels) {
    *kernels = {Move_Plain<false>,
                Move_Plain<true>,
                {Pack_Plain<false, 0>, Pack_Plain<false, 8>, Pack_Plain<true, 0>, Pack_Plain<true, 8>}};
}

}  // namespace zor
