#pragma once
// Mirroring and half turns in place. Only the channels of the image's family move: pad bytes stay where they are, and
// an image of no family stays as it is. An image that cannot be used is left alone without a report.

#include "core/ImageClassData.h"

namespace zor {

// Left and right. Yields after each row.
void HMirrorSelf(REALobject object);

// Top and bottom, and top and bottom with each row turned round. Both exchange a row with its partner and yield after
// each pair. The middle row of an odd height has no partner and stays as it was, in the half turn too: callers that
// want it turned use Rotate180 into a destination.
void VMirrorSelf(REALobject object);
void Rotate180Self(REALobject object);

}  // namespace zor
