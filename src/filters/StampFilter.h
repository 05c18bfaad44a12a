#pragma once
// A stamp of two colours made of a blurred image.

#include "filters/TableWalk.h"

namespace zor {

// Class member. Blurs with three steps of a third of the radius, the first of them into dst, and passes each channel
// of the blurred image through a soft threshold between the two colours. threshold and softness are parts of the full
// range. The result is always a new image; dst holds the first step of the blur. Alpha is left alone. A blurred
// image that is neither gray nor RGB gives a new image with no pixel changed.
REALobject StampFilter(REALobject object, REALobject dst, double radius, double threshold, double softness,
                       REALcolor black, REALcolor white);

// The second stage, without the blur. The radius plays no part in it.
REALobject StampFilter2(REALobject object, REALobject dst, double radius, double threshold, double softness, int black,
                        int white);

// One channel's way from its part of black (0 to 255) to its part of white.
ByteTable StampTable(double threshold, double softness, int black, int white);

}  // namespace zor
