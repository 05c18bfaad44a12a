#pragma once
// Views: images with a record of their own on the pixels of another image. Made in constant time, without a copy.
// All results are locked for the caller; nil where the image has no such channel or no object could be made.

#include "core/ImageClassData.h"

namespace zor {

REALobject AlphaChannel(REALobject object);
REALobject RedChannel(REALobject object);
REALobject GreenChannel(REALobject object);
REALobject BlueChannel(REALobject object);
REALobject GrayChannel(REALobject object);
REALobject CyanChannel(REALobject object);
REALobject MagentaChannel(REALobject object);
REALobject YellowChannel(REALobject object);
REALobject BlackChannel(REALobject object);
REALobject RGBChannel(REALobject object);
REALobject CMYKChannel(REALobject object);
REALobject Channel(REALobject object, int index);  // raises OutOfBoundsException

REALobject ClipImage1(REALobject object);
REALobject ClipImage5(REALobject object, int x, int y, int width, int height);
REALobject GetMirroredView(REALobject object);

// A copy in memory of its own. Nil for file-backed images and images that are not Valid.
REALobject Clone(REALobject object);

}  // namespace zor
