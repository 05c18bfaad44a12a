#pragma once
// Effects that sharpen, blur and weigh neighbours.

#include "effects/Effects.h"

std::vector<EffectRow> FilterEffects();
