#pragma once
// Oil paint: every channel becomes the mean of the most frequent intensity class around the pixel.

#include "host/HostInterface.h"

namespace zor {

// Class member. levels is the number of classes, at most 256 count; range is the reach of the square window to each
// side, in pixels, cut at the edges of the image. Images of every family, alpha included, each channel by itself.
// levels below 1, a negative range or an image of no family: the destination comes back with no pixel changed.
REALobject OilFilter(REALobject object, REALobject dst, int levels, int range);

}  // namespace zor
