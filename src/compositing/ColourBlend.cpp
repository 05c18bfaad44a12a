#include "compositing/ColourBlend.h"

#include "compositing/BlendWalk.h"
#include "exchange/Clipping.h"

namespace zor {

static ColourSamples SamplesOf(int colour) {
    return {{static_cast<std::uint8_t>(colour >> 16), static_cast<std::uint8_t>(colour >> 8),
             static_cast<std::uint8_t>(colour)}};
}

bool Case3(ImageClassData* dst, ImageClassData* image, bool premultiplied, int dstX, int dstY, int srcX, int srcY,
           int width, int height, int foreColour) {
    if (!PassTransferGate(dst, image)) return false;
    TransferRect rect{dstX, dstY, width, height, srcX, srcY};
    if (!ClipTransfer(&rect, SizeOf(dst), SizeOf(image))) return false;
    const Layer layers[] = {BlendLayer(dst, rect.dstX, rect.dstY, false),
                            BlendLayer(image, rect.srcX, rect.srcY, false)};
    if (layers[0].channels.count == 0 || layers[1].channels.count == 0) return true;
    WalkBlend(layers, 2, rect.width, rect.height,
              {ColourPaint(premultiplied, layers[0].channels.count, layers[1].channels.count),
               PackedColourPaint(RunOf(layers[0]), premultiplied, layers[1].channels.count)},
              SamplesOf(foreColour));
    return true;
}

bool Case4(ImageClassData* dst, ImageClassData* image, bool premultiplied, int dstX, int dstY, int srcX, int srcY,
           int width, int height, bool useColours, int maskColour) {
    if (!PassTransferGate(dst, image)) return false;
    TransferRect rect{dstX, dstY, width, height, srcX, srcY};
    if (!ClipTransfer(&rect, SizeOf(dst), SizeOf(image))) return false;
    ColourSamples mask = SamplesOf(useColours ? maskColour : 0);
    if (dst->IsGray) mask.rgb[0] = GrayOf(mask.rgb[0], mask.rgb[1], mask.rgb[2]);
    const Layer layers[] = {BlendLayer(dst, rect.dstX, rect.dstY, false),
                            BlendLayer(image, rect.srcX, rect.srcY, false)};
    if (layers[0].channels.count == 0 || layers[1].channels.count == 0) return true;
    WalkBlend(layers, 2, rect.width, rect.height,
              {ColourMaskedLay(premultiplied, layers[0].channels.count, layers[1].channels.count),
               PackedColourMaskedLay(RunOf(layers[0]), premultiplied)},
              mask);
    return true;
}

}  // namespace zor
