#pragma once
// Last step of an unsharp mask, in place: pushes the image away from a second one, mostly a blurred copy of it.
//
// A byte a beside a byte b of the second image becomes b + (a - b) * (4 * amount + 1), truncated and cut to 0 to 255,
// where they differ by threshold or more; smaller differences stay. False, with nothing changed, unless both images
// can be used and have the same size and format. An image of no family stays as it is and gives true.

#include "core/ImageClassData.h"

namespace zor {

REALboolean unsharpFilter(REALobject object, REALobject origpixels, double amount, int threshold);

// The CMYK family, with and without alpha. Five bytes of each pixel are treated, the last at AlphaOffset: without
// alpha that is the byte at offset 0, which goes through a second time with what the first time left in it.
void unsharpFilterCMYKA(ImageClassData* image, ImageClassData* origpixels, double amount, int threshold);

}  // namespace zor
