#pragma once
// Effects that change the size of an image.

#include "effects/Effects.h"

std::vector<EffectRow> ScaleEffects();
