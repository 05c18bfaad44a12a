#pragma once
// Contrast and brightness by a gain curve followed by a bias curve.

#include "host/HostInterface.h"

namespace zor {

// Class member. One curve for every channel of a gray or RGB image, alpha included; a gain and a bias of 0.5 change
// nothing. Images of other families: the destination comes back with no pixel changed.
REALobject GainFilter(REALobject object, REALobject dst, double gain, double bias);

}  // namespace zor
