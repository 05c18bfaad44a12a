#pragma once
// Relief: the difference of each pixel to a diagonal neighbour, about a middle gray of 128.

#include "host/HostInterface.h"

namespace zor {

// Class member. level is the distance to the neighbour in columns and rows, to the right and down; negative: to the
// left and up. Beyond the edge the nearest pixel counts. Every channel of gray and RGB images, alpha included; other
// images: the destination comes back with no pixel changed.
REALobject EngraveFilter(REALobject object, REALobject dst, int level);

}  // namespace zor
