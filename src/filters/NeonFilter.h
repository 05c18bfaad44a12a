#pragma once
// Edge glow: how steeply each channel changes to the right and down.

#include "core/ImageClassData.h"

namespace zor {

// Class member. Every channel of an image of any family, alpha included. Below the last row lie zeros, and right of
// the last column lies what follows in the row: its padding, or zeros. Without memory for two rows the destination
// comes back with no pixel changed.
REALobject NeonFilter(REALobject object, REALobject dst);

}  // namespace zor
