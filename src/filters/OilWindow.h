#pragma once
// The window of the oil filter.

#include "filters/PixelSide.h"

namespace zor {

// The walk in its two forms; classes 1 to 256, range 0 or more. The plain one gathers the window of each pixel anew:
// it defines the result, also where source and destination share bytes. The other moves the window along the row; it
// needs the rows of a window in memory, and gives way to the plain one where they are too much.
void OilImage(const PixelSides& sides, int classes, int range);
void OilImage_Plain(const PixelSides& sides, int classes, int range);

}  // namespace zor
