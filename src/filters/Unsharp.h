#pragma once
// Last step of an unsharp mask, in place: pushes the image away from a second one, mostly a blurred copy of it.
//
// A byte a beside a byte b of the second image becomes b + (a - b) * (4 * amount + 1), truncated and cut to 0 to 255,
// where they differ by threshold or more; smaller differences stay. False, with nothing changed, unless both images
// can be used and have the same size and format. An image of no family stays as it is and gives true.

#include "host/HostInterface.h"

namespace zor {

REALboolean unsharpFilter(REALobject object, REALobject origpixels, double amount, int threshold);

}  // namespace zor
