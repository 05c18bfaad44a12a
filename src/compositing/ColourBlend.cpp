#include "compositing/ColourBlend.h"

#include "compositing/BlendWalk.h"
#include "exchange/Clipping.h"

static ColourSamples SamplesOf(int colour) {
    return {{static_cast<std::uint8_t>(colour >> 16), static_cast<std::uint8_t>(colour >> 8),
             static_cast<std::uint8_t>(colour)}};
}

bool Case3(ImageClassData* target, ImageClassData* image, bool preMultipliedSource, int destX, int destY, int sourceX,
           int sourceY, int width, int height, int foreColour) {
    if (!PassTransferGate(target, image)) return false;
    TransferRect rect{destX, destY, width, height, sourceX, sourceY};
    if (!ClipTransfer(&rect, SizeOf(target), SizeOf(image))) return false;
    const Layer layers[] = {BlendLayer(target, rect.destX, rect.destY, false),
                            BlendLayer(image, rect.sourceX, rect.sourceY, false)};
    if (layers[0].channels.count == 0 || layers[1].channels.count == 0) return true;
    WalkBlend(layers, 2, rect.width, rect.height,
              {ColourPaint(preMultipliedSource, layers[0].channels.count, layers[1].channels.count),
               PackedColourPaint(RunOf(layers[0]), preMultipliedSource, layers[1].channels.count)},
              SamplesOf(foreColour));
    return true;
}

bool Case4(ImageClassData* target, ImageClassData* image, bool preMultipliedSource, int destX, int destY, int sourceX,
           int sourceY, int width, int height, bool useColours, int maskColour) {
    if (!PassTransferGate(target, image)) return false;
    TransferRect rect{destX, destY, width, height, sourceX, sourceY};
    if (!ClipTransfer(&rect, SizeOf(target), SizeOf(image))) return false;
    ColourSamples mask = SamplesOf(useColours ? maskColour : 0);
    if (target->IsGray) mask.rgb[0] = GrayOf(mask.rgb[0], mask.rgb[1], mask.rgb[2]);
    const Layer layers[] = {BlendLayer(target, rect.destX, rect.destY, false),
                            BlendLayer(image, rect.sourceX, rect.sourceY, false)};
    if (layers[0].channels.count == 0 || layers[1].channels.count == 0) return true;
    WalkBlend(layers, 2, rect.width, rect.height,
              {ColourMaskedLay(preMultipliedSource, layers[0].channels.count, layers[1].channels.count),
               PackedColourMaskedLay(RunOf(layers[0]), preMultipliedSource)},
              mask);
    return true;
}
