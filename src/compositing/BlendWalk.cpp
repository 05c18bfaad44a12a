#include "compositing/BlendWalk.h"

#include "kernels/KernelTable.h"

namespace zor {

Layer BlendLayer(ImageClassData* image, std::int64_t x, std::int64_t y, bool withAlpha) {
    const bool isOfClass = image->IsGray || image->IsRGB;
    return LayerOf(image, x, y, isOfClass ? ChannelsOf(image, withAlpha) : ChannelSet{});
}

PixelRun RunOf(const Layer& layer) {
    return {nullptr, layer.pixelSize, layer.channels};
}

void WalkBlend(const Layer* layers, int layerCount, std::int64_t width, std::int64_t height, BlendTwins blend,
               const ColourSamples& colour) {
    const BlendKernels& kernels = Kernels().blend;
    WalkRuns({layers, layerCount, width, height, layers[0].image, false, false}, [&](const RunSet& runs) {
        const bool apart = blend.apart && runs.sharing == Sharing::apart;
        (apart ? blend.apart : blend.inOrder)(kernels, runs.run, runs.count, colour);
    });
}

}  // namespace zor
