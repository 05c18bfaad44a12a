#pragma once
// Gamma correction of gray and RGB images, with or without their alpha.

#include "host/HostInterface.h"

namespace zor {

// Class members. A gray source takes one whole-numbered mix of three gamma values. Forms without a gamma for alpha
// leave the destination's alpha alone. Images of other families: the destination comes back with no pixel changed.
REALobject GammaFilterG(REALobject object, REALobject dst, double gamma);
REALobject GammaFilterGA(REALobject object, REALobject dst, double gamma, double alphaGamma);
REALobject GammaFilterRGB(REALobject object, REALobject dst, double redGamma, double greenGamma, double blueGamma);
REALobject GammaFilterRGBA(REALobject object, REALobject dst, double redGamma, double greenGamma, double blueGamma,
                           double alphaGamma);

}  // namespace zor
