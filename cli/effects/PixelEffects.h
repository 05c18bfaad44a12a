#pragma once
// Effects on the pixels of an area: filled, cleared, inverted, cut out.

#include "effects/Effects.h"

std::vector<EffectRow> PixelEffects();

// What of a rectangle lies on a picture of such a size; a width or height below 1: nothing.
struct PixelArea {
    int x;
    int y;
    int width;
    int height;
};
PixelArea CutToPicture(const AreaRequest& area, int width, int height);
