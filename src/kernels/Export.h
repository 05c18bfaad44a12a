#pragma once
// Kernels that make pixels of a host picture from the channels of an image.

#include "kernels/PixelRun.h"

namespace zor {

// The colours that are read from an image. Gray also stands for any one channel that is shown as gray.
enum class ExportColours : unsigned char {
    gray,  // 1 channel: red, green and blue alike
    rgb,   // 3 channels
    cmyk,  // 4 channels: subtractive, with a fixed black and without colour management
};
constexpr int kExportColours = 3;

// What is written.
enum class PicturePixel : unsigned char {
    native32,  // a word of the processor's byte order: red in bits 16 to 23, green in 8 to 15, blue in 0 to 7, 0 above
    rgb24,     // red, green, blue
    argb32,    // 255, red, green, blue
};
constexpr int kPicturePixels = 3;
constexpr std::ptrdiff_t kPictureWord = 4;  // bytes of all but rgb24

// The word of a pixel in which the byte at an offset of 0 or more lies, as offset.
constexpr std::ptrdiff_t WordOf(std::ptrdiff_t offset) {
    return offset / kPictureWord * kPictureWord;
}

// Writes `count` pixels side by side, from pixels of `pixelSize` bytes with a channel's byte at each of the offsets.
// The two do not overlap.
using ExportRowFunction = void (*)(const std::uint8_t* src, std::ptrdiff_t pixelSize, const std::ptrdiff_t* offset,
                                   std::ptrdiff_t count, std::uint8_t* dst);

struct ExportKernels {
    ExportRowFunction pixels[kExportColours][kPicturePixels];
    // RGB from one word of every pixel, for pixels of four bytes whose channels lie in one word.
    ExportRowFunction nativeWords;
    ExportRowFunction argbWords;
};

void InitExport_Plain(ExportKernels* kernels);
void InitExport_Sse4(ExportKernels* kernels);
void InitExport_Avx2(ExportKernels* kernels);
void InitExport_Neon(ExportKernels* kernels);

}  // namespace zor
