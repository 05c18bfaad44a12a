#pragma once
// Kernels of the masked blend on packed bytes. The arithmetic is that of kernels/Mixing.h.

#include <cstddef>
#include <cstdint>

namespace zor {

// What a kernel writes does not overlap what it reads, except that it works on `dst`.
struct BlendKernels {
    // Byte by byte: dst = Mix(above, mask, dst)
    void (*mix)(std::uint8_t* dst, const std::uint8_t* above, const std::uint8_t* mask, std::ptrdiff_t bytes);
    // dst = low byte of AddOver(above, mask, dst)
    void (*addOver)(std::uint8_t* dst, const std::uint8_t* above, const std::uint8_t* mask, std::ptrdiff_t bytes);
    // dst = low byte of AddOver(above, mask, below)
    void (*addOverOther)(std::uint8_t* dst, const std::uint8_t* above, const std::uint8_t* mask,
                         const std::uint8_t* below, std::ptrdiff_t bytes);
    // dst = low byte of above + mask
    void (*add)(std::uint8_t* dst, const std::uint8_t* above, const std::uint8_t* mask, std::ptrdiff_t bytes);

    // Each byte three times.
    void (*replicate3)(std::uint8_t* dst, const std::uint8_t* src, std::ptrdiff_t count);
    // Each byte four times, of which byte alphaAt is 255 instead.
    void (*replicate4Opaque)(std::uint8_t* dst, const std::uint8_t* src, int alphaAt, std::ptrdiff_t count);
    // Of each pixel of four bytes its byte alphaAt, four times.
    void (*replicateAlpha)(std::uint8_t* dst, const std::uint8_t* pixels, int alphaAt, std::ptrdiff_t count);
};

void InitBlend_Plain(BlendKernels* kernels);
void InitBlend_Sse4(BlendKernels* kernels);
void InitBlend_Avx2(BlendKernels* kernels);
void InitBlend_Neon(BlendKernels* kernels);

}  // namespace zor
