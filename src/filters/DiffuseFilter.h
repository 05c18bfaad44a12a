#pragma once
// Random scatter of whole pixels.

#include "filters/PixelSide.h"

namespace zor {

// Class member, named DiffuseFilter to the host. Every pixel becomes the source pixel at a random place up to level
// columns and rows away, from the generator rand(): one number for the column, then one for the row, for each pixel,
// also where no choice is left. Gray and RGB images, alpha included; other images: the destination comes back with no
// pixel changed and no number drawn.
REALobject DifuseFilter(REALobject object, REALobject dst, int level);

}  // namespace zor
