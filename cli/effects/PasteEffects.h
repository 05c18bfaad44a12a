#pragma once
// Effects that put pixels in the place of others, as they are.

#include "effects/Effects.h"

std::vector<EffectRow> PasteEffects();
