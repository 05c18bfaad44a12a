#pragma once
// The walk of the engrave filter.

#include "filters/PixelSide.h"

namespace zor {

// The walk in its two forms. The plain one defines the result, also where source and destination share bytes.
void EngraveImage(const PixelSides& sides, int level);
void EngraveImage_Plain(const PixelSides& sides, int level);

}  // namespace zor
