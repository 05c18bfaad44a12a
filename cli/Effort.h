#pragma once
// How long the phases of a run take, about and relative to each other: enough to tell how much of the whole is done.

#include "PixelKind.h"

struct Codec;
struct EffectRow;

double ReadingEffort(const ImageShape& shape);
double EffectEffort(const EffectRow& effect, const ImageShape& source, const ImageShape& result);
double WritingEffort(const Codec& codec, const ImageShape& shape);
