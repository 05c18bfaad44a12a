// The loops behind BlendRowOps, told once and compiled once for every tier of processors: each tier's source includes
// this and gives out the table. Everything here is local to that source and nothing shared comes in with it, since the
// linker keeps one copy of a shared function, which might be one for newer processors only.

#include "compositing/BlendRowOps.h"

namespace {

using Bytes = std::uint8_t* __restrict;
using ConstBytes = const std::uint8_t* __restrict;

// All arithmetic is cut to 16 bits, so that as many samples as possible go into a register. Nothing is lost: sums stay
// below 65026, and 65025 + 1 + 254 is the most that a division shifts.
using Word = std::uint16_t;

Word DividedBy255(Word sum) {
    return static_cast<Word>(static_cast<Word>(sum + 1 + (sum >> 8)) >> 8);
}

void Mix(Bytes target, ConstBytes above, ConstBytes mask, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; ++i) {
        const Word over = static_cast<Word>(above[i] * static_cast<Word>(255 - mask[i]));
        const Word under = static_cast<Word>(mask[i] * target[i]);
        target[i] = static_cast<std::uint8_t>(DividedBy255(static_cast<Word>(over + under)));
    }
}

void AddOver(Bytes target, ConstBytes above, ConstBytes mask, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; ++i) {
        target[i] = static_cast<std::uint8_t>(above[i] + DividedBy255(static_cast<Word>(mask[i] * target[i])));
    }
}

void AddOverOther(Bytes target, ConstBytes above, ConstBytes mask, ConstBytes below, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; ++i) {
        target[i] = static_cast<std::uint8_t>(above[i] + DividedBy255(static_cast<Word>(mask[i] * below[i])));
    }
}

void Add(Bytes target, ConstBytes above, ConstBytes mask, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; ++i) target[i] = static_cast<std::uint8_t>(above[i] + mask[i]);
}

void Repeat3(Bytes out, ConstBytes bytes, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        for (int k = 0; k < 3; ++k) out[3 * i + k] = bytes[i];
    }
}

void Repeat4Opaque(Bytes out, ConstBytes bytes, int alphaAt, std::ptrdiff_t count) {
    std::uint8_t opaque[4] = {0, 0, 0, 0};
    opaque[alphaAt] = 255;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        for (int k = 0; k < 4; ++k) out[4 * i + k] = static_cast<std::uint8_t>(bytes[i] | opaque[k]);
    }
}

void RepeatAlpha(Bytes out, ConstBytes pixels, int alphaAt, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        for (int k = 0; k < 4; ++k) out[4 * i + k] = pixels[4 * i + alphaAt];
    }
}

BlendRowOps OpsOfThisTier() {
    return {Mix, AddOver, AddOverOther, Add, Repeat3, Repeat4Opaque, RepeatAlpha};
}

}  // namespace
