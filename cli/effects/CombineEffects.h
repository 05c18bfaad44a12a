#pragma once
// Effects that lay one picture over another.

#include "effects/Effects.h"

std::vector<EffectRow> CombineEffects();
