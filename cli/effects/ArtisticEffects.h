#pragma once
// Effects for their look.

#include "effects/Effects.h"

std::vector<EffectRow> ArtisticEffects();
