#pragma once
// Transfer curves given by the application as arrays of integers.

#include "host/HostInterface.h"

namespace zor {

// Class members. Entry i of a curve is what a byte of i becomes, its low 8 bits. Bytes beyond the end of a curve, and
// all bytes of a null one, become 0. A gray source takes the green curve; forms without a curve for alpha leave the
// destination's alpha alone. Images of other families: the destination comes back with no pixel changed.
REALobject TransferFilterG(REALobject object, REALobject dst, REALarray gray);
REALobject TransferFilterGA(REALobject object, REALobject dst, REALarray gray, REALarray alpha);
REALobject TransferFilterRGB(REALobject object, REALobject dst, REALarray red, REALarray green, REALarray blue);
REALobject TransferFilterRGBA(REALobject object, REALobject dst, REALarray red, REALarray green, REALarray blue,
                              REALarray alpha);

}  // namespace zor
