#include <array>

#include "kernels/BlendRuns.h"

namespace zor {

namespace {

// --- one pixel ------------------------------------------------------------------------------------------------------

// s and m hold what source and mask say about each channel of the target pixel d.
template <int kDst>
inline void BlendPlain(std::uint8_t* d, const std::uint8_t* s, const std::uint8_t* m) {
    for (int c = 0; c < kDst; ++c) d[c] = Mix(s[c], m[c], d[c]);
}

template <int kDst>
inline void BlendPremultiplied(std::uint8_t* d, const std::uint8_t* s, const std::uint8_t* m) {
    constexpr int kColours = ColourCount(kDst);
    const unsigned alpha = HasAlphaIn(kDst) ? d[kDst - 1] : 255;
    for (int c = 0; c < kColours; ++c) {
        const unsigned below = kColours == 1 ? d[c] : alpha;
        d[c] = static_cast<std::uint8_t>(AddOver(s[c], m[c], below));
    }
    if constexpr (HasAlphaIn(kDst)) {
        d[kColours] = static_cast<std::uint8_t>(AddOver(s[kColours], m[kColours], alpha));
    }
}

// --- one row --------------------------------------------------------------------------------------------------------

template <bool kPremultiplied, int kDst, int kSrc, int kMask>
void BlendRun(const BlendKernels&, const PixelRun* runs, std::ptrdiff_t count, const ColourSamples&) {
    PixelRun dst = runs[0], src = runs[1], mask = runs[2];
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint8_t d[kDst], s[kDst], m[kDst];
        ReadSamples<kDst, kSrc>(src.pixels, src.channels.offset, s);
        ReadSamples<kDst, kMask>(mask.pixels, mask.channels.offset, m);
        ReadSamples<kDst, kDst>(dst.pixels, dst.channels.offset, d);
        if constexpr (kPremultiplied) {
            BlendPremultiplied<kDst>(d, s, m);
        } else {
            BlendPlain<kDst>(d, s, m);
        }
        for (int c = 0; c < kDst; ++c) dst.pixels[dst.channels.offset[c]] = d[c];
        EndOfPixel();
        dst.pixels += dst.step;
        src.pixels += src.step;
        mask.pixels += mask.step;
    }
}

// --- which row it is: [dst][src][mask], each G, GA, RGB, RGBA -----------------------------------------------------

using MaskCases = std::array<BlendFn, kMaxChannels>;
using SrcCases = std::array<MaskCases, kMaxChannels>;
using DstCases = std::array<SrcCases, kMaxChannels>;

template <bool kPremultiplied, int kDst, int kSrc>
constexpr MaskCases kMaskCases = {BlendRun<kPremultiplied, kDst, kSrc, kG>, BlendRun<kPremultiplied, kDst, kSrc, kGA>,
                                  BlendRun<kPremultiplied, kDst, kSrc, kRGB>,
                                  BlendRun<kPremultiplied, kDst, kSrc, kRGBA>};

template <bool kPremultiplied, int kDst>
constexpr SrcCases kSrcCases = {kMaskCases<kPremultiplied, kDst, kG>, kMaskCases<kPremultiplied, kDst, kGA>,
                                kMaskCases<kPremultiplied, kDst, kRGB>, kMaskCases<kPremultiplied, kDst, kRGBA>};

template <bool kPremultiplied>
constexpr DstCases kDstCases = {kSrcCases<kPremultiplied, kG>, kSrcCases<kPremultiplied, kGA>,
                                kSrcCases<kPremultiplied, kRGB>, kSrcCases<kPremultiplied, kRGBA>};

// --- one row --------------------------------------------------------------------------------------------------------

template <bool kPremultiplied>
inline unsigned Lay(unsigned above, unsigned mask, unsigned below) {
    return kPremultiplied ? AddOver(above, mask, below) : Mix(above, mask, below);
}

// The mask value of a pixel of the image that a colour is painted through.
template <int kImage>
inline unsigned MaskOf(const std::uint8_t* pixel, const std::ptrdiff_t* channels) {
    if constexpr (kImage == kG) return pixel[channels[0]];
    return (unsigned{pixel[channels[0]]} + pixel[channels[1]] + pixel[channels[2]]) / 3;
}

template <bool kPremultiplied, int kDst, int kImage>
void PaintColour(const BlendKernels&, const PixelRun* runs, std::ptrdiff_t count, const ColourSamples& colour) {
    PixelRun dst = runs[0], image = runs[1];
    const ColourSamples c = colour;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const unsigned m = MaskOf<kImage>(image.pixels, image.channels.offset);
        unsigned painted[3];
        for (int k = 0; k < 3; ++k) {
            const unsigned below = dst.pixels[dst.channels.offset[kDst == kG ? 0 : k]];
            painted[k] = Lay<kPremultiplied>(c.rgb[k], m, below);
        }
        if constexpr (kDst == kG) {
            // The sums go into the gray as they are, before anything is cut to a byte.
            dst.pixels[dst.channels.offset[0]] = GrayOf(painted[0], painted[1], painted[2]);
        } else {
            for (int k = 0; k < 3; ++k) dst.pixels[dst.channels.offset[k]] = static_cast<std::uint8_t>(painted[k]);
        }
        EndOfPixel();
        dst.pixels += dst.step;
        image.pixels += image.step;
    }
}

// The colour holds the mask value of each channel of the target.
template <bool kPremultiplied, int kDst, int kImage>
void LayThroughColour(const BlendKernels&, const PixelRun* runs, std::ptrdiff_t count, const ColourSamples& colour) {
    PixelRun dst = runs[0], image = runs[1];
    const ColourSamples mask = colour;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint8_t s[kDst], d[kDst];
        ReadSamples<kDst, kImage>(image.pixels, image.channels.offset, s);
        ReadSamples<kDst, kDst>(dst.pixels, dst.channels.offset, d);
        for (int k = 0; k < kDst; ++k) {
            dst.pixels[dst.channels.offset[k]] =
                static_cast<std::uint8_t>(Lay<kPremultiplied>(s[k], mask.rgb[k], d[k]));
        }
        EndOfPixel();
        dst.pixels += dst.step;
        image.pixels += image.step;
    }
}

// By class: gray, RGB.
template <bool kPremultiplied>
constexpr BlendFn kPaints[2][2] = {{PaintColour<kPremultiplied, kG, kG>, PaintColour<kPremultiplied, kG, kRGB>},
                                   {PaintColour<kPremultiplied, kRGB, kG>, PaintColour<kPremultiplied, kRGB, kRGB>}};

template <bool kPremultiplied>
constexpr BlendFn kLays[2][2] = {
    {LayThroughColour<kPremultiplied, kG, kG>, LayThroughColour<kPremultiplied, kG, kRGB>},
    {LayThroughColour<kPremultiplied, kRGB, kG>, LayThroughColour<kPremultiplied, kRGB, kRGB>}};

}  // namespace

BlendFn MaskedBlend(bool premultiplied, int dstClass, int srcClass, int maskClass) {
    const auto index = [](int pixelClass) { return static_cast<std::size_t>(pixelClass - 1); };
    const DstCases& cases = premultiplied ? kDstCases<true> : kDstCases<false>;
    return cases[index(dstClass)][index(srcClass)][index(maskClass)];
}

BlendFn ColourPaint(bool premultiplied, int dstClass, int imageClass) {
    return (premultiplied ? kPaints<true> : kPaints<false>)[dstClass == kRGB][imageClass == kRGB];
}

BlendFn ColourMaskedLay(bool premultiplied, int dstClass, int imageClass) {
    return (premultiplied ? kLays<true> : kLays<false>)[dstClass == kRGB][imageClass == kRGB];
}

}  // namespace zor
