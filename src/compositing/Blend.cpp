#include "compositing/Blend.h"

#include "compositing/BlendWalk.h"

static void Blend(bool premultiplied, ImageClassData* target, ImageClassData* source, ImageClassData* mask, int destX,
                  int destY, int width, int height, int sourceX, int sourceY) {
    const Layer layers[] = {BlendLayer(target, destX, destY, true), BlendLayer(source, sourceX, sourceY, true),
                            BlendLayer(mask, sourceX, sourceY, true)};
    for (const Layer& layer : layers) {
        if (layer.channels.count == 0) return;
    }
    WalkBlend(layers, 3, width, height,
              {MaskedBlend(premultiplied, layers[0].channels.count, layers[1].channels.count, layers[2].channels.count),
               PackedBlend(RunOf(layers[0]), premultiplied)},
              {});
}

void Case2pf(ImageClassData* target, ImageClassData* source, ImageClassData* mask, int destX, int destY, int width,
             int height, int sourceX, int sourceY) {
    Blend(false, target, source, mask, destX, destY, width, height, sourceX, sourceY);
}

void Case2pt(ImageClassData* target, ImageClassData* source, ImageClassData* mask, int destX, int destY, int width,
             int height, int sourceX, int sourceY) {
    Blend(true, target, source, mask, destX, destY, width, height, sourceX, sourceY);
}
