#pragma once
// The little that a carrier of ICC colour profiles has to know about them.

#include <cstdint>
#include <string>
#include <vector>

#include "PixelKind.h"

// Whether the bytes are a profile and its data colour space is that of such pixels.
bool ProfileFits(const std::vector<std::uint8_t>& profile, PixelKind kind);

// What the profile calls itself, such as "Display P3"; empty when it does not say.
std::string ProfileName(const std::vector<std::uint8_t>& profile);

// The name of its data colour space, such as "RGB"; empty when the bytes are no profile.
std::string ProfileSpace(const std::vector<std::uint8_t>& profile);
