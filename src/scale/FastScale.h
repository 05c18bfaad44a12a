#pragma once
// Scaling by the nearest pixel, without a filter, a temporary image or threads.

#include "host/HostInterface.h"

namespace zor {

// Fits the whole source into the top left width x height of the target, each cut to the target's size. False, with the
// target unchanged, for a size of 0 or less, an unusable image, or a conversion that does not exist.
REALboolean ScalePictureFast(REALobject dstObject, REALobject srcObject, int width, int height);

}  // namespace zor
