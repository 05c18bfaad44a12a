#include "compositing/Blend.h"

#include "compositing/BlendWalk.h"

namespace zor {

static void Blend(bool premultiplied, ImageClassData* dst, ImageClassData* src, ImageClassData* mask, int dstX,
                  int dstY, int width, int height, int srcX, int srcY) {
    const Layer layers[] = {BlendLayer(dst, dstX, dstY, true), BlendLayer(src, srcX, srcY, true),
                            BlendLayer(mask, srcX, srcY, true)};
    for (const Layer& layer : layers) {
        if (layer.channels.count == 0) return;
    }
    WalkBlend(layers, 3, width, height,
              {MaskedBlend(premultiplied, layers[0].channels.count, layers[1].channels.count, layers[2].channels.count),
               PackedBlend(RunOf(layers[0]), premultiplied)},
              {});
}

void Case2pf(ImageClassData* dst, ImageClassData* src, ImageClassData* mask, int dstX, int dstY, int width, int height,
             int srcX, int srcY) {
    Blend(false, dst, src, mask, dstX, dstY, width, height, srcX, srcY);
}

void Case2pt(ImageClassData* dst, ImageClassData* src, ImageClassData* mask, int dstX, int dstY, int width, int height,
             int srcX, int srcY) {
    Blend(true, dst, src, mask, dstX, dstY, width, height, srcX, srcY);
}

}  // namespace zor
