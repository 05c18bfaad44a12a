#pragma once
// The curves of the tone filters: what each byte becomes.

#include "host/HostInterface.h"
#include "kernels/Tables.h"

namespace zor {

ByteTable GammaTable(double gamma);

// Cut off, or rounded where 0.5 is added before.
ByteTable GainTable(double gain, double bias, double added = 0);

// The second stage of the stamp filter, without the blur. The radius plays no part in it.
REALobject StampFilter2(REALobject object, REALobject dst, double radius, double threshold, double softness, int black,
                        int white);

// One channel's way from its part of black to its part of white, for a level from 0 to 255.
double StampValue(double threshold, double softness, int black, int white, double level);

// The same for all levels, cut off.
ByteTable StampTable(double threshold, double softness, int black, int white);

}  // namespace zor
