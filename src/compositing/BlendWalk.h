#pragma once
// The walk of all of Combine: the pixels of a rectangle of the target, each together with those of one or two other
// images, of class gray or RGB.

#include "core/Walk.h"
#include "kernels/BlendRuns.h"

namespace zor {

// The layer of an image with or without its alpha. It has no channels if the image is of neither class.
Layer BlendLayer(ImageClassData* image, std::int64_t x, std::int64_t y, bool withAlpha);

// The form of the layer's pixels, without an address.
PixelRun RunOf(const Layer& layer);

// A blend and its faster twin for runs that share no bytes. The twin may be null.
struct BlendTwins {
    BlendFn inOrder;
    BlendFn apart;
};

// Yields on the target after each row. A row that one of the layers does not have is skipped.
void WalkBlend(const Layer* layers, int layerCount, std::int64_t width, std::int64_t height, BlendTwins blend,
               const ColourSamples& colour);

}  // namespace zor
