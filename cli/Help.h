#pragma once
// `zor --help`, `zor help` and `zor help EFFECT`, made from the table of effects.

#include <string>

// The text of the first two.
std::string GeneralHelp();

// The text for one effect; a UsageError when there is none of that name.
std::string EffectHelp(const std::string& name);
