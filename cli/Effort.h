#pragma once
// How long the phases of a run take, about: enough to tell how much of the whole is done, and how long the rest takes.
// An effort of 1 is a nanosecond of the machine on which those of effects and formats were measured.

#include "PixelKind.h"

struct Codec;
struct EffectCall;

double ReadingEffort(const Codec& codec, const ImageShape& shape);
double EffectEffort(const EffectCall& call, const ImageShape& source, const ImageShape& result);
double ColourEffort(const ImageShape& shape);
double WritingEffort(const Codec& codec, const ImageShape& shape);

// What this machine takes for an effort of 1, by a millisecond's work of which it is known elsewhere.
double SecondsForEffort();
