#pragma once
// Ordered dither: every channel byte becomes one of a few levels, by a threshold matrix that repeats over the image.

#include "host/HostInterface.h"

namespace zor {

// Class member. matrix is one of the Dither... constants, 1 to 10; levels 2 to 256. Gray and RGB images, alpha like
// any channel. With two levels the result is a negative. Anything else: the destination comes back with no pixel
// changed.
REALobject DitherFilter(REALobject object, REALobject dst, int matrix, int levels);

}  // namespace zor
