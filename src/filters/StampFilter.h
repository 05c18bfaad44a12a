#pragma once
// A stamp of two colours made of a blurred image.

#include "host/HostInterface.h"

namespace zor {

// Class member. Blurs with three steps of a third of the radius, the first of them into dst, and passes each channel
// of the blurred image through a soft threshold between the two colours. threshold and softness are parts of the full
// range. The result is always a new image; dst holds the first step of the blur. Alpha is left alone. A blurred
// image that is neither gray nor RGB gives a new image with no pixel changed.
REALobject StampFilter(REALobject object, REALobject dst, double radius, double threshold, double softness,
                       REALcolor black, REALcolor white);

}  // namespace zor
