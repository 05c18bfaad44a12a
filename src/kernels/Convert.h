#pragma once
// Kernels that make pixels of one family from pixels of another, or of the same in another layout.

#include "kernels/PixelRun.h"

namespace zor {

// What becomes of the colours of a pixel. Where alpha goes along it is the last channel of both sides.
enum class PixelRule : unsigned char {
    refused,    // there is no way from the one family to the other
    copy,       // channel by channel
    replicate,  // the one source channel into all of the target's
    blackOnly,  // the one source channel into the last of the target's, 0 into the others
    luma,       // (77 red + 151 green + 28 blue) >> 8 into the one target channel
};

// alpha is written exclusive-or'ed with alphaMask: 0, or 255 for the complement.
using ConvertFn = void (*)(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, std::uint8_t alphaMask);

// The rules together with the number of colours on each side, source first.
enum Conversion : int {
    kCopy1,
    kCopy3,
    kCopy4,
    kReplicate1To3,
    kReplicate1To4,
    kBlackOnly1To4,
    kLuma3To1,
    kConversions,
    kNoConversion = -1
};
Conversion ConversionOf(PixelRule rule, int srcColours, int dstColours);

// For runs that share no byte. By conversion, without alpha and with it.
struct ConvertKernels {
    ConvertFn apart[kConversions][2];
};

// From left to right, a channel stored before the next is read: what is read may already have been written. These
// define the results.
ConvertFn ConvertInOrder(Conversion conversion, bool withAlpha);

void InitConvert_Plain(ConvertKernels* kernels);
void InitConvert_Sse4(ConvertKernels* kernels);
void InitConvert_Avx2(ConvertKernels* kernels);
void InitConvert_Neon(ConvertKernels* kernels);

}  // namespace zor
