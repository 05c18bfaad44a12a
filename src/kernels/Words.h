#pragma once
// Kernels that swizzle pixels of four bytes into pixels of four or three: what becomes of a pixel is shifts of one word
// by the same amounts all along the run.

#include "kernels/PixelRun.h"

namespace zor {

// How the bytes of a pixel come to their places.
struct WordMove {
    std::uint32_t keep;  // bytes of the target that stay
    std::uint32_t fill;  // what the result is exclusive-or'ed with: a constant, or what complements the mask's byte
    int srcShift[3];     // of the colours
    int dstShift[3];
    int maskShift;   // of the byte of the mask that goes along
    int alphaShift;  // of its place
};

// Whole pixels are read and written, also bytes that stay. dst overlaps neither of the others; mask is a run of pixels
// of four bytes, and null for a kernel that reads none.
using WordsFn = void (*)(const WordMove& move, std::uint8_t* dst, const std::uint8_t* src, const std::uint8_t* mask,
                         std::ptrdiff_t count);

struct WordsKernels {
    WordsFn move;        // four to four
    WordsFn moveMasked;  // the same with a byte of the mask
    // Four to three: the colours stand side by side in the word, in the order of the target or, [2] and [3], reversed;
    // they begin with its first byte or, [1] and [3], with its second. Little-endian processors only.
    WordsFn pack[4];
};

// One pixel to be made from another. Offsets are bytes from the start of the pixel.
struct WordPixel {
    std::ptrdiff_t step;            // bytes from one pixel to the next
    const std::ptrdiff_t* colours;  // of three channels
};

// What happens to the alpha of the target beside its colours.
struct WordAlpha {
    enum class From : unsigned char { nowhere, constant, mask } from;
    std::ptrdiff_t at;      // its byte in the target
    std::ptrdiff_t maskAt;  // the byte of the mask's pixel, of four bytes, that goes there
    std::uint8_t value;     // the constant, or what the mask's byte is exclusive-or'ed with
};

// The kernel for such pixels and the numbers for it; null where there is none. All offsets must lie inside the pixel.
// An alpha on the byte of a colour is replaced by it.
WordsFn PickWords(const WordsKernels& kernels, const WordPixel& dst, const WordPixel& src, const WordAlpha& alpha,
                  WordMove* move);

void InitWords_Plain(WordsKernels* kernels);
void InitWords_Sse4(WordsKernels* kernels);
void InitWords_Avx2(WordsKernels* kernels);
void InitWords_Neon(WordsKernels* kernels);

}  // namespace zor
