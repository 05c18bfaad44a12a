#pragma once
// The masked blend for targets whose pixels are one byte a channel without a gap, and runs that share no bytes: source
// and mask are brought into the byte order of the target, and all bytes of a stretch are then blended alike.

#include "compositing/LayerWalk.h"

// A kernel for runs apart that gives the same bytes as the one in order, for every class of source and mask; nil where
// the target's pixels are not packed.
PixelKernel PackedBlend(const Layer& target, bool preMultiplied);
