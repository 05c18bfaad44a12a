#pragma once
// Effects that map each value by itself.

#include "effects/Effects.h"

std::vector<EffectRow> ToneEffects();
