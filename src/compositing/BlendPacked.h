#pragma once
// The blends for targets of whole pixels without a gap between their channels, and runs that share no bytes: source and
// mask are brought into the byte order of the target, and all bytes of a stretch are then blended alike. The results
// are those of the kernels in order.

#include "compositing/LayerWalk.h"

// The kernel of the masked blend for runs apart, for every class of source and mask; nil where the target is not such.
PixelKernel PackedBlend(const PixelRun& target, bool preMultiplied);

// A run of one pixel again and again. It refers to the samples.
PixelRun ConstantRun(const std::uint8_t* samples, int channelCount);
