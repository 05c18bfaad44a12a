#pragma once
// The darkroom effect that turns the darker half of every channel over.

#include "filters/TableWalk.h"

namespace zor {

// Class member. Every channel of an image of any family passes the same curve, alpha included.
REALobject SolarizeFilter(REALobject object, REALobject dst);

extern const ByteTable SolarizeTable;

}  // namespace zor
