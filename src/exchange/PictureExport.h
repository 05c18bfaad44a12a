#pragma once
// Copies of a rectangle of an image as a new host picture: its colours, its alpha channel as a gray picture, or both as
// a picture with a mask. Every kind of image storage is exported alike.
//
// The rectangle is cut to the image; a negative size extends to the left or up. The result is locked once for the
// caller, or nil: for an empty rectangle, one with a side above 32767, an image that is not usable or belongs to no
// family, and where the host gives no picture. There are no exceptions, and the image stays as it is.

#include "core/ImageClassData.h"

namespace zor {

// Colours. Alpha is ignored. CMYK is shown as subtractive colour with a fixed black.
REALobject rbCopyPicture(REALobject object, int x, int y, int w, int h);
REALobject rbCopyPictureAll(REALobject object);

// Alpha as it stands: 255 is white. Nil for an image without alpha.
REALobject rbCopyMask(REALobject object, int x, int y, int w, int h);
REALobject rbCopyMaskAll(REALobject object);

// The colours with the alpha channel as mask. The mask is drawn at the size of the call, not at that of what was cut:
// a negative size gives the picture without it.
REALobject rbCopyPictureWithMask(REALobject object, int x, int y, int w, int h);
REALobject rbCopyPictureWithMaskAll(REALobject object);

// Getter of the property DebugPicture: the top left corner of at most 512 x 512 pixels with its mask, for debuggers.
// Nil unless DebugPictureEnabled is set.
REALobject GetDebugPicture(REALobject object, REALword);

}  // namespace zor
