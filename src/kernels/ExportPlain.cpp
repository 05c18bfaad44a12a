#include <bit>
#include <cstring>

#include "kernels/Export.h"

namespace zor {

namespace {

struct Colour {
    std::uint32_t red;
    std::uint32_t green;
    std::uint32_t blue;
};

// --- reading a pixel ------------------------------------------------------------------------------------------------

template <ExportColours kColours>
constexpr int kChannels = kColours == ExportColours::gray  ? 1
                          : kColours == ExportColours::rgb ? 3
                                                           : 4;

template <ExportColours kColours>
Colour Read(const std::uint8_t* pixel, const std::ptrdiff_t* offset) {
    const auto sample = [&](int channel) { return std::uint32_t{pixel[offset[channel]]}; };
    if constexpr (kColours == ExportColours::gray) {
        return {sample(0), sample(0), sample(0)};
    } else if constexpr (kColours == ExportColours::rgb) {
        return {sample(0), sample(1), sample(2)};
    } else {
        const std::uint32_t light = 255 - sample(3);
        const auto without = [&](int channel) { return light - sample(channel) * light / 255; };
        return {without(0), without(1), without(2)};
    }
}

// --- storing one ----------------------------------------------------------------------------------------------------

constexpr bool kLittleEndian = std::endian::native == std::endian::little;
constexpr std::ptrdiff_t kWord = kPictureWord;

void StoreWord(std::uint8_t* dst, std::uint32_t word) {
    std::memcpy(dst, &word, sizeof word);
}

template <PicturePixel kPixelType>
constexpr std::ptrdiff_t kPictureSize = kPixelType == PicturePixel::rgb24 ? 3 : kWord;

template <PicturePixel kPixelType>
void Store(std::uint8_t* dst, Colour colour) {
    if constexpr (kPixelType == PicturePixel::native32) {
        StoreWord(dst, colour.red << 16 | colour.green << 8 | colour.blue);
    } else if constexpr (kPixelType == PicturePixel::argb32 && kLittleEndian) {
        StoreWord(dst, 255u | colour.red << 8 | colour.green << 16 | colour.blue << 24);
    } else if constexpr (kPixelType == PicturePixel::argb32) {
        StoreWord(dst, 255u << 24 | colour.red << 16 | colour.green << 8 | colour.blue);
    } else {
        dst[0] = static_cast<std::uint8_t>(colour.red);
        dst[1] = static_cast<std::uint8_t>(colour.green);
        dst[2] = static_cast<std::uint8_t>(colour.blue);
    }
}

// --- rows -----------------------------------------------------------------------------------------------------------

template <ExportColours kColours, PicturePixel kPixelType>
void Export_Plain(const std::uint8_t* src, std::ptrdiff_t pixelSize, const std::ptrdiff_t* offsets,
                  std::ptrdiff_t count, std::uint8_t* dst) {
    std::ptrdiff_t offset[kChannels<kColours>];
    std::copy_n(offsets, kChannels<kColours>, offset);
    for (std::ptrdiff_t i = 0; i < count; ++i, src += pixelSize, dst += kPictureSize<kPixelType>) {
        Store<kPixelType>(dst, Read<kColours>(src, offset));
    }
}

std::uint32_t ShiftOf(std::ptrdiff_t offset) {
    const std::ptrdiff_t byte = offset % kWord;
    return static_cast<std::uint32_t>(kLittleEndian ? byte : kWord - 1 - byte) * 8;
}

// Red, green and blue from one word of every pixel: shifts by the same amounts all along the row, of which the compiler
// makes vectors.
template <PicturePixel kPixelType>
void ExportWords_Plain(const std::uint8_t* src, std::ptrdiff_t, const std::ptrdiff_t* offset, std::ptrdiff_t count,
                       std::uint8_t* dst) {
    const std::uint32_t red = ShiftOf(offset[0]), green = ShiftOf(offset[1]), blue = ShiftOf(offset[2]);
    src += WordOf(offset[0]);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint32_t word;
        std::memcpy(&word, src + i * kWord, sizeof word);
        Store<kPixelType>(dst + i * kWord, {word >> red & 255, word >> green & 255, word >> blue & 255});
    }
}

template <ExportColours kColours>
constexpr ExportRowFunction kPlain[kPicturePixels] = {Export_Plain<kColours, PicturePixel::native32>,
                                                      Export_Plain<kColours, PicturePixel::rgb24>,
                                                      Export_Plain<kColours, PicturePixel::argb32>};

}  // namespace

void InitExport_Plain(ExportKernels* kernels) {
    std::copy_n(kPlain<ExportColours::gray>, kPicturePixels, kernels->pixels[0]);
    std::copy_n(kPlain<ExportColours::rgb>, kPicturePixels, kernels->pixels[1]);
    std::copy_n(kPlain<ExportColours::cmyk>, kPicturePixels, kernels->pixels[2]);
    kernels->nativeWords = ExportWords_Plain<PicturePixel::native32>;
    kernels->argbWords = ExportWords_Plain<PicturePixel::argb32>;
}

}  // namespace zor
