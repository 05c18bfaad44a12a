#pragma once
// Effects that mirror and turn.

#include "effects/Effects.h"

std::vector<EffectRow> GeometryEffects();
