#include <array>

#include "kernels/BlendRuns.h"

namespace {

// --- one pixel ------------------------------------------------------------------------------------------------------

// s and m hold what src and mask say about each channel of the dst pixel d.
template <int kTarget>
inline void BlendPlain(std::uint8_t* d, const std::uint8_t* s, const std::uint8_t* m) {
    for (int c = 0; c < kTarget; ++c) d[c] = Mix(s[c], m[c], d[c]);
}

template <int kTarget>
inline void BlendPremultiplied(std::uint8_t* d, const std::uint8_t* s, const std::uint8_t* m) {
    constexpr int kColours = ColourCount(kTarget);
    const unsigned alpha = HasAlphaIn(kTarget) ? d[kTarget - 1] : 255;
    for (int c = 0; c < kColours; ++c) {
        const unsigned below = kColours == 1 ? d[c] : alpha;
        d[c] = static_cast<std::uint8_t>(AddOver(s[c], m[c], below));
    }
    if constexpr (HasAlphaIn(kTarget)) {
        d[kColours] = static_cast<std::uint8_t>(AddOver(s[kColours], m[kColours], alpha));
    }
}

// --- one row --------------------------------------------------------------------------------------------------------

template <bool kPremultiplied, int kTarget, int kSource, int kMask>
void BlendRun(const BlendKernels&, const PixelRun* runs, std::ptrdiff_t count, const ColourSamples&) {
    PixelRun dst = runs[0], src = runs[1], mask = runs[2];
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint8_t d[kTarget], s[kTarget], m[kTarget];
        ReadSamples<kTarget, kSource>(src.pixels, src.channels.offset, s);
        ReadSamples<kTarget, kMask>(mask.pixels, mask.channels.offset, m);
        ReadSamples<kTarget, kTarget>(dst.pixels, dst.channels.offset, d);
        if constexpr (kPremultiplied) {
            BlendPremultiplied<kTarget>(d, s, m);
        } else {
            BlendPlain<kTarget>(d, s, m);
        }
        for (int c = 0; c < kTarget; ++c) dst.pixels[dst.channels.offset[c]] = d[c];
        EndOfPixel();
        dst.pixels += dst.step;
        src.pixels += src.step;
        mask.pixels += mask.step;
    }
}

// --- which row it is: [dst][source][mask], each G, GA, RGB, RGBA --------------------------------------------------

using MaskCases = std::array<BlendFn, kMostChannels>;
using SourceCases = std::array<MaskCases, kMostChannels>;
using TargetCases = std::array<SourceCases, kMostChannels>;

template <bool kPremultiplied, int kTarget, int kSource>
constexpr MaskCases kMaskCases = {
    BlendRun<kPremultiplied, kTarget, kSource, kG>, BlendRun<kPremultiplied, kTarget, kSource, kGA>,
    BlendRun<kPremultiplied, kTarget, kSource, kRGB>, BlendRun<kPremultiplied, kTarget, kSource, kRGBA>};

template <bool kPremultiplied, int kTarget>
constexpr SourceCases kSourceCases = {kMaskCases<kPremultiplied, kTarget, kG>, kMaskCases<kPremultiplied, kTarget, kGA>,
                                      kMaskCases<kPremultiplied, kTarget, kRGB>,
                                      kMaskCases<kPremultiplied, kTarget, kRGBA>};

template <bool kPremultiplied>
constexpr TargetCases kTargetCases = {kSourceCases<kPremultiplied, kG>, kSourceCases<kPremultiplied, kGA>,
                                      kSourceCases<kPremultiplied, kRGB>, kSourceCases<kPremultiplied, kRGBA>};

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

template <bool kPremultiplied, int kTarget, int kImage>
void PaintColour(const BlendKernels&, const PixelRun* runs, std::ptrdiff_t count, const ColourSamples& colour) {
    PixelRun dst = runs[0], image = runs[1];
    const ColourSamples c = colour;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const unsigned m = MaskOf<kImage>(image.pixels, image.channels.offset);
        unsigned painted[3];
        for (int k = 0; k < 3; ++k) {
            const unsigned below = dst.pixels[dst.channels.offset[kTarget == kG ? 0 : k]];
            painted[k] = Lay<kPremultiplied>(c.rgb[k], m, below);
        }
        if constexpr (kTarget == kG) {
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

// The colour holds the mask value of each channel of the dst.
template <bool kPremultiplied, int kTarget, int kImage>
void LayThroughColour(const BlendKernels&, const PixelRun* runs, std::ptrdiff_t count, const ColourSamples& colour) {
    PixelRun dst = runs[0], image = runs[1];
    const ColourSamples mask = colour;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint8_t s[kTarget], d[kTarget];
        ReadSamples<kTarget, kImage>(image.pixels, image.channels.offset, s);
        ReadSamples<kTarget, kTarget>(dst.pixels, dst.channels.offset, d);
        for (int k = 0; k < kTarget; ++k) {
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
    const TargetCases& cases = premultiplied ? kTargetCases<true> : kTargetCases<false>;
    return cases[index(dstClass)][index(srcClass)][index(maskClass)];
}

BlendFn ColourPaint(bool premultiplied, int dstClass, int imageClass) {
    return (premultiplied ? kPaints<true> : kPaints<false>)[dstClass == kRGB][imageClass == kRGB];
}

BlendFn ColourMaskedLay(bool premultiplied, int dstClass, int imageClass) {
    return (premultiplied ? kLays<true> : kLays<false>)[dstClass == kRGB][imageClass == kRGB];
}
