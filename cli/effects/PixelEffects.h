#pragma once
// Effects on the pixels of an area: filled, cleared, inverted, cut out.

#include <functional>

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

// The area that an effect was asked for by its argument of AreaRow, cut to the picture, or the whole picture. A
// RunError, which `effect` begins, when nothing of it lies on the picture.
PixelArea AreaOf(const char* effect, const ImageShape& source, const Arguments& arguments);
ArgumentRow AreaRow();

// Does work that knows whole images only on a part: on a copy of it, which is put back.
void WorkOnArea(Raster* image, const PixelArea& area, const std::function<void(Raster* part)>& work);
