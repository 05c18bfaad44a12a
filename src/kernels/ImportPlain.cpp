#include "kernels/Import.h"

namespace zor {

namespace {

template <ImportRule kRule, int kColours>
void Import_InOrder(const PixelRun* runs, std::ptrdiff_t count, std::uint8_t invert) {
    const PixelRun image = runs[0], picture = runs[1];  // the stores below cannot change copies
    const PixelRun mask = NeedsMask(kRule) ? runs[2] : PixelRun{};
    std::uint8_t* imagePixel = image.pixels;
    const std::uint8_t* picturePixel = picture.pixels;
    const std::uint8_t* maskPixel = mask.pixels;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint8_t sample[kColours];
        for (int c = 0; c < kColours; ++c) sample[c] = picturePixel[picture.channels.offset[c]];
        if constexpr (kRule == ImportRule::blend) {
            unsigned part[kColours];
            for (int c = 0; c < kColours; ++c) part[c] = maskPixel[mask.channels.offset[c]] ^ invert;
            for (int c = 0; c < kColours; ++c) {
                std::uint8_t* const byte = imagePixel + image.channels.offset[c];
                *byte = static_cast<std::uint8_t>((part[c] * *byte + (255 - part[c]) * sample[c]) / 255);
            }
        } else if constexpr (kRule == ImportRule::colours) {
            for (int c = 0; c < kColours; ++c) imagePixel[image.channels.offset[c]] = sample[c];
        } else {
            const std::uint8_t alpha = kRule == ImportRule::constant ? 255 : maskPixel[mask.channels.offset[0]];
            imagePixel[image.channels.offset[0]] = static_cast<std::uint8_t>(alpha ^ invert);
            for (int c = 0; c < kColours; ++c) imagePixel[image.channels.offset[c + 1]] = sample[c];
        }
        EndOfPixel();
        imagePixel += image.step;
        picturePixel += picture.step;
        if constexpr (NeedsMask(kRule)) maskPixel += mask.step;
    }
}

}  // namespace

ImportFn ImportInOrder(ImportRule rule, int colours) {
    switch (rule) {
        case ImportRule::constant:
            return Import_InOrder<ImportRule::constant, 3>;
        case ImportRule::maskToAlpha:
            return Import_InOrder<ImportRule::maskToAlpha, 3>;
        case ImportRule::blend:
            return Import_InOrder<ImportRule::blend, 3>;
        default:
            return colours == 1 ? Import_InOrder<ImportRule::colours, 1> : Import_InOrder<ImportRule::colours, 3>;
    }
}

}  // namespace zor
