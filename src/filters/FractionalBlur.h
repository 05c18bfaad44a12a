#pragma once
// Blur over three pixels each way, for the steps between whole radii: the neighbours weigh f, the fractional part of
// the radius, and the pixel itself 1. The whole part of the radius plays no role, and f = 0 copies.
//
// The edges differ on purpose. The first row and the last column take the pixel alone; the last row and the first
// column fold the pixel itself in for the neighbour that they lack. A CMYK image has only the byte filtered that lies
// where its record keeps red, green and blue, which is the first of each pixel.
//
// The result is dst or, where that is null, a new image like the source, locked for the caller; null for an image of
// no family and where an image cannot be used or made. Rows are copied before they are overwritten, so dst may be
// the source.

#include "core/ImageClassData.h"

namespace zor {

REALobject BoxBlurFractionalFilter(REALobject object, REALobject dst, double radius);

}  // namespace zor
