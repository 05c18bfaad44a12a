#include "kernels/Blend.h"

namespace zor {

namespace {

using Bytes = std::uint8_t* __restrict;
using ConstBytes = const std::uint8_t* __restrict;

// All arithmetic is cut to 16 bits, so that as many samples as possible go into a register. Nothing is lost: sums stay
// below 65026, and 65025 + 1 + 254 is the most that a division shifts.
using Word = std::uint16_t;

Word DividedBy255(Word sum) {
    return static_cast<Word>(static_cast<Word>(sum + 1 + (sum >> 8)) >> 8);
}

void Mix_Plain(Bytes dst, ConstBytes above, ConstBytes mask, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; ++i) {
        const Word over = static_cast<Word>(above[i] * static_cast<Word>(255 - mask[i]));
        const Word under = static_cast<Word>(mask[i] * dst[i]);
        dst[i] = static_cast<std::uint8_t>(DividedBy255(static_cast<Word>(over + under)));
    }
}

void AddOver_Plain(Bytes dst, ConstBytes above, ConstBytes mask, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; ++i) {
        dst[i] = static_cast<std::uint8_t>(above[i] + DividedBy255(static_cast<Word>(mask[i] * dst[i])));
    }
}

void AddOverOther_Plain(Bytes dst, ConstBytes above, ConstBytes mask, ConstBytes below, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; ++i) {
        dst[i] = static_cast<std::uint8_t>(above[i] + DividedBy255(static_cast<Word>(mask[i] * below[i])));
    }
}

void Add_Plain(Bytes dst, ConstBytes above, ConstBytes mask, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; ++i) dst[i] = static_cast<std::uint8_t>(above[i] + mask[i]);
}

void Replicate3_Plain(Bytes dst, ConstBytes src, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        for (int k = 0; k < 3; ++k) dst[3 * i + k] = src[i];
    }
}

void Replicate4Opaque_Plain(Bytes dst, ConstBytes src, int alphaAt, std::ptrdiff_t count) {
    std::uint8_t opaque[4] = {0, 0, 0, 0};
    opaque[alphaAt] = 255;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        for (int k = 0; k < 4; ++k) dst[4 * i + k] = static_cast<std::uint8_t>(src[i] | opaque[k]);
    }
}

void ReplicateAlpha_Plain(Bytes dst, ConstBytes pixels, int alphaAt, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        for (int k = 0; k < 4; ++k) dst[4 * i + k] = pixels[4 * i + alphaAt];
    }
}

}  // namespace

void InitBlend_Plain(BlendKernels* kernels) {
    *kernels = {Mix_Plain,        AddOver_Plain,          AddOverOther_Plain,  Add_Plain,
                Replicate3_Plain, Replicate4Opaque_Plain, ReplicateAlpha_Plain};
}

}  // namespace zor
