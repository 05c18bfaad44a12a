#pragma once
// The kernel that moves the bytes of pixels to other places, from pixels of any step to pixels of any step. What
// copies, packs, imports and exports do to bytes is this with other numbers.

#include "kernels/PixelRun.h"

namespace zor {

// How a pixel of the target comes about. Its bytes count from the first that is written to the last, those of a source
// pixel from the first channel to the last.
struct Swizzle {
    static constexpr int kMaxStep = 5;
    static constexpr signed char kStays = -1;     // the byte of the target as it was
    static constexpr signed char kConstant = -2;  // a byte of its own

    int srcStep;  // bytes from one pixel to the next, 1 to kMaxStep
    int dstStep;
    int srcBytes;  // of a pixel, 1 to the step
    int dstBytes;
    signed char from[kMaxStep];   // by byte of the target's pixel: the byte of the source's, or one of the above
    std::uint8_t flip[kMaxStep];  // by byte: what the source's is exclusive-or'ed with, or the constant
};

// A run made ready: the kernel takes first bytes of first pixels.
struct SwizzleRun {
    Swizzle swizzle;
    std::uint8_t* dst;
    const std::uint8_t* src;
};

// channel[c] is the channel of src that goes to channel c of dst, or Swizzle::kConstant; flip[c] what it is
// exclusive-or'ed with, or the constant. A later channel of dst takes the place of an earlier one on the same byte.
// False for runs whose pixels have another step, or channels further apart than that.
bool MakeSwizzle(const PixelRun& dst, const PixelRun& src, const signed char* channel, const std::uint8_t* flip,
                 SwizzleRun* run);

// The two share no byte. Bytes of the target that stay may be written as they are; nothing is read or written before
// the first byte of the first pixel or behind the last byte of the last.
using SwizzleFn = void (*)(const Swizzle& swizzle, std::uint8_t* dst, const std::uint8_t* src, std::ptrdiff_t count);

struct SwizzleKernels {
    SwizzleFn move;
};

void InitSwizzle_Plain(SwizzleKernels* kernels);
void InitSwizzle_Sse4(SwizzleKernels* kernels);
void InitSwizzle_Avx2(SwizzleKernels* kernels);
void InitSwizzle_Neon(SwizzleKernels* kernels);

// The same for vector kernels of other families, which call the twin of their own set.
void MoveBytes_Sse4(const Swizzle& swizzle, std::uint8_t* dst, const std::uint8_t* src, std::ptrdiff_t count);
void MoveBytes_Avx2(const Swizzle& swizzle, std::uint8_t* dst, const std::uint8_t* src, std::ptrdiff_t count);
void MoveBytes_Neon(const Swizzle& swizzle, std::uint8_t* dst, const std::uint8_t* src, std::ptrdiff_t count);

}  // namespace zor
