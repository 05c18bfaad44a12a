#include "compositing/ColourBlend.h"

#include "compositing/BlendPacked.h"
#include "compositing/LayerWalk.h"
#include "exchange/Clipping.h"

namespace {

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
void PaintColour(const PixelRun* runs, std::ptrdiff_t count, const ColourSamples& colour) {
    PixelRun target = runs[0], image = runs[1];
    const ColourSamples c = colour;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const unsigned m = MaskOf<kImage>(image.pixels, image.channels);
        unsigned painted[3];
        for (int k = 0; k < 3; ++k) {
            const unsigned below = target.pixels[target.channels[kTarget == kG ? 0 : k]];
            painted[k] = Lay<kPremultiplied>(c.rgb[k], m, below);
        }
        if constexpr (kTarget == kG) {
            // The sums go into the gray as they are, before anything is cut to a byte.
            target.pixels[target.channels[0]] = GrayOf(painted[0], painted[1], painted[2]);
        } else {
            for (int k = 0; k < 3; ++k) target.pixels[target.channels[k]] = static_cast<std::uint8_t>(painted[k]);
        }
        EndOfPixel();
        target.pixels += target.step;
        image.pixels += image.step;
    }
}

// The colour holds the mask value of each channel of the target.
template <bool kPremultiplied, int kTarget, int kImage>
void LayThroughColour(const PixelRun* runs, std::ptrdiff_t count, const ColourSamples& colour) {
    PixelRun target = runs[0], image = runs[1];
    const ColourSamples mask = colour;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint8_t s[kTarget], d[kTarget];
        ReadSamples<kTarget, kImage>(image.pixels, image.channels, s);
        ReadSamples<kTarget, kTarget>(target.pixels, target.channels, d);
        for (int k = 0; k < kTarget; ++k) {
            target.pixels[target.channels[k]] = static_cast<std::uint8_t>(Lay<kPremultiplied>(s[k], mask.rgb[k], d[k]));
        }
        EndOfPixel();
        target.pixels += target.step;
        image.pixels += image.step;
    }
}

// Without premultiplication the colour is just the source or the mask of a masked blend.

void PaintColourPacked(const PixelRun* runs, std::ptrdiff_t count, const ColourSamples& colour) {
    const PixelRun blend[] = {runs[0], ConstantRun(colour.rgb, kRGB), runs[1]};
    PackedBlend(runs[0], false)(blend, count, colour);
}

void LayThroughColourPacked(const PixelRun* runs, std::ptrdiff_t count, const ColourSamples& colour) {
    const PixelRun blend[] = {runs[0], runs[1], ConstantRun(colour.rgb, runs[0].channelCount)};
    PackedBlend(runs[0], false)(blend, count, colour);
}

// --- which row it is ------------------------------------------------------------------------------------------------

// By [PreMultipliedSource][target is RGB][image is RGB].
struct ColourCases {
    PixelKernel inOrder[2][2][2];
    PixelKernel apart[2][2][2];  // where the target is packed
};

constexpr ColourCases kPaintCases = {
    {{{PaintColour<false, kG, kG>, PaintColour<false, kG, kRGB>},
      {PaintColour<false, kRGB, kG>, PaintColour<false, kRGB, kRGB>}},
     {{PaintColour<true, kG, kG>, PaintColour<true, kG, kRGB>},
      {PaintColour<true, kRGB, kG>, PaintColour<true, kRGB, kRGB>}}},
    // A gray target is mixed three times over, and the mask of colours is their mean: neither is a masked blend.
    {{{nullptr, nullptr}, {PaintColourPacked, nullptr}}, {}}};

constexpr ColourCases kLayCases = {
    {{{LayThroughColour<false, kG, kG>, LayThroughColour<false, kG, kRGB>},
      {LayThroughColour<false, kRGB, kG>, LayThroughColour<false, kRGB, kRGB>}},
     {{LayThroughColour<true, kG, kG>, LayThroughColour<true, kG, kRGB>},
      {LayThroughColour<true, kRGB, kG>, LayThroughColour<true, kRGB, kRGB>}}},
    {{{LayThroughColourPacked, LayThroughColourPacked}, {LayThroughColourPacked, LayThroughColourPacked}}, {}}};

ColourSamples SamplesOf(int colour) {
    return {{static_cast<std::uint8_t>(colour >> 16), static_cast<std::uint8_t>(colour >> 8),
             static_cast<std::uint8_t>(colour)}};
}

void Walk(const TransferRect& rect, ImageClassData* target, ImageClassData* image, const ColourCases& cases,
          bool preMultipliedSource, const ColourSamples& colour) {
    const Layer layers[] = {LayerOf(target, rect.destX, rect.destY, false),
                            LayerOf(image, rect.sourceX, rect.sourceY, false)};
    if (layers[0].channels.count == 0 || layers[1].channels.count == 0) return;
    const bool targetIsRgb = layers[0].channels.count == kRGB, imageIsRgb = layers[1].channels.count == kRGB;
    RowKernel kernel = {cases.inOrder[preMultipliedSource][targetIsRgb][imageIsRgb],
                        cases.apart[preMultipliedSource][targetIsRgb][imageIsRgb]};
    if (!PackedBlend(RunOf(layers[0], nullptr, 0), false)) kernel.apart = nullptr;
    WalkLayers(layers, 2, rect.width, rect.height, kernel, colour);
}

}  // namespace

bool Case3(ImageClassData* target, ImageClassData* image, bool preMultipliedSource, int destX, int destY, int sourceX,
           int sourceY, int width, int height, int foreColour) {
    if (!PassTransferGate(target, image)) return false;
    TransferRect rect{destX, destY, width, height, sourceX, sourceY};
    if (!ClipTransfer(&rect, SizeOf(target), SizeOf(image))) return false;
    Walk(rect, target, image, kPaintCases, preMultipliedSource, SamplesOf(foreColour));
    return true;
}

bool Case4(ImageClassData* target, ImageClassData* image, bool preMultipliedSource, int destX, int destY, int sourceX,
           int sourceY, int width, int height, bool useColours, int maskColour) {
    if (!PassTransferGate(target, image)) return false;
    TransferRect rect{destX, destY, width, height, sourceX, sourceY};
    if (!ClipTransfer(&rect, SizeOf(target), SizeOf(image))) return false;
    ColourSamples mask = SamplesOf(useColours ? maskColour : 0);
    if (target->IsGray) mask.rgb[0] = GrayOf(mask.rgb[0], mask.rgb[1], mask.rgb[2]);
    Walk(rect, target, image, kLayCases, preMultipliedSource, mask);
    return true;
}
