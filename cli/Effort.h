#pragma once
// How long the phases of a run take, about and relative to each other: enough to tell how much of the whole is done.

#include <string>

#include "PixelKind.h"

double ReadingEffort(const ImageShape& shape);
double EffectEffort(const std::string& effect, const ImageShape& source, const ImageShape& result);
double WritingEffort(const std::string& format, const ImageShape& shape);
