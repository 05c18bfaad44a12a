#pragma once
// Oil paint: every channel becomes the mean of the most frequent intensity class around the pixel.

#include "filters/PixelSide.h"

namespace zor {

// Class member. levels is the number of classes, at most 256 count; range is the reach of the square window to each
// side, in pixels, cut at the edges of the image. Images of every family, alpha included, each channel by itself.
// levels below 1, a negative range or an image of no family: the destination comes back with no pixel changed.
REALobject OilFilter(REALobject object, REALobject dst, int levels, int range);

// The walk in its two forms; classes 1 to 256, range 0 or more. The plain one gathers the window of each pixel anew:
// it defines the result, also where source and destination share bytes. The other moves the window along the row; it
// needs the rows of a window in memory, and gives way to the plain one where they are too much.
void OilImage(const PixelSides& sides, int classes, int range);
void OilImage_Plain(const PixelSides& sides, int classes, int range);

}  // namespace zor
