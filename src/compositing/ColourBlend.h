#pragma once
// Combine with a colour in place of one of the images: the colour is painted through an image, or an image is laid on
// through one mask value for all pixels.
//
// A host colour holds red in bits 16 to 23, green in bits 8 to 15, blue in bits 0 to 7. Alpha is neither read nor
// written. False for an image that cannot be worked on and for an empty rectangle. An image that is neither gray nor
// RGB stays as it is, and the result is true: it does not tell whether anything was done.

#include "core/ImageClassData.h"

namespace zor {

// Paints foreColour where the image is black and keeps the target where it is white. Colours of the image count by
// their mean.
bool Case3(ImageClassData* dst, ImageClassData* image, bool premultiplied, int dstX, int dstY, int srcX, int srcY,
           int width, int height, int foreColour);

// Lays the image on by the channels of maskColour: 0 gives the image, 255 keeps the target. Without useColours the mask
// colour counts as black.
bool Case4(ImageClassData* dst, ImageClassData* image, bool premultiplied, int dstX, int dstY, int srcX, int srcY,
           int width, int height, bool useColours, int maskColour);

}  // namespace zor
