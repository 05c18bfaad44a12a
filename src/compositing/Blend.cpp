#include "compositing/Blend.h"

#include <array>

#include "compositing/BlendPacked.h"
#include "compositing/LayerWalk.h"

namespace {

// --- one pixel ------------------------------------------------------------------------------------------------------

// s and m hold what source and mask say about each channel of the target pixel d.
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
void BlendRun(const PixelRun* runs, std::ptrdiff_t count, const ColourSamples&) {
    PixelRun target = runs[0], source = runs[1], mask = runs[2];
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint8_t d[kTarget], s[kTarget], m[kTarget];
        ReadSamples<kTarget, kSource>(source.pixels, source.channels, s);
        ReadSamples<kTarget, kMask>(mask.pixels, mask.channels, m);
        ReadSamples<kTarget, kTarget>(target.pixels, target.channels, d);
        if constexpr (kPremultiplied) {
            BlendPremultiplied<kTarget>(d, s, m);
        } else {
            BlendPlain<kTarget>(d, s, m);
        }
        for (int c = 0; c < kTarget; ++c) target.pixels[target.channels[c]] = d[c];
        EndOfPixel();
        target.pixels += target.step;
        source.pixels += source.step;
        mask.pixels += mask.step;
    }
}

// --- which row it is: [target][source][mask], each G, GA, RGB, RGBA --------------------------------------------------

using MaskCases = std::array<PixelKernel, kMostChannels>;
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

template <bool kPremultiplied>
void Blend(ImageClassData* target, ImageClassData* source, ImageClassData* mask, int destX, int destY, int width,
           int height, int sourceX, int sourceY) {
    const Layer layers[] = {LayerOf(target, destX, destY, true), LayerOf(source, sourceX, sourceY, true),
                            LayerOf(mask, sourceX, sourceY, true)};
    for (const Layer& layer : layers) {
        if (layer.channels.count == 0) return;
    }
    const auto of = [&layers](int layer) { return static_cast<std::size_t>(layers[layer].channels.count - 1); };
    const PixelKernel inOrder = kTargetCases<kPremultiplied>[of(0)][of(1)][of(2)];
    WalkLayers(layers, 3, width, height, {inOrder, PackedBlend(RunOf(layers[0], nullptr, 0), kPremultiplied)}, {});
}

}  // namespace

void Case2pf(ImageClassData* target, ImageClassData* source, ImageClassData* mask, int destX, int destY, int width,
             int height, int sourceX, int sourceY) {
    Blend<false>(target, source, mask, destX, destY, width, height, sourceX, sourceY);
}

void Case2pt(ImageClassData* target, ImageClassData* source, ImageClassData* mask, int destX, int destY, int width,
             int height, int sourceX, int sourceY) {
    Blend<true>(target, source, mask, destX, destY, width, height, sourceX, sourceY);
}
