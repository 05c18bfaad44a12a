#pragma once
// Turns by right angles into another image. Whole pixels move, nothing is blended.
//
// dst receives the picture, in its own byte order; null makes a new image of the size that the turn needs. A dst
// that is too small or of another family is not found out: the pixels go where the source's size puts them, as far as
// there is storage. Source and dst should not share pixels, since nothing is copied aside.
//
// The result is dst or the new image, locked for the caller; null where an image cannot be used or made. A source of
// no family gives the destination with no pixel changed.

#include "core/ImageClassData.h"

namespace zor {

REALobject Rotate90(REALobject object, REALobject dst);  // counter-clockwise: the right edge comes to the top
REALobject Rotate180(REALobject object, REALobject dst);
REALobject Rotate270(REALobject object, REALobject dst);  // clockwise: the left edge comes to the top

// The same pictures, walked in blocks that keep to the mapped windows of both images. The order of the visits
// shows only where source and dst share pixels.
REALobject Rotate90fast(REALobject object, REALobject dst);
REALobject Rotate270fast(REALobject object, REALobject dst);

}  // namespace zor
