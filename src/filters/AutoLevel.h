#pragma once
// Stretching the contrast of an RGB image in place, with the same limits for all three channels.

#include "core/Rectangles.h"

namespace zor {

// Class members. The limits come from the luminance of the rectangle: half a percent of its pixels is given up at
// either end. True if it was done; false, with no pixel changed, for images of other families, images without pixels
// and rectangles beside the image. A negative size extends to the left or up. Alpha is left alone.
REALboolean AutoLevel1(REALobject object);
REALboolean AutoLevel5(REALobject object, int x, int y, int width, int height);

}  // namespace zor
