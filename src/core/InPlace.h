#pragma once
// Operations on a rectangle of one image: clear, fill, lay a colour over, fill with noise, invert; and CompareImages.
//
// The digit 1 is the form for the whole image, 5 the one for a rectangle; c takes a host colour; A has an alpha. A
// rectangle may hang over the image on any side, and a negative size extends to the left or up. No function reports
// that it could not run: the pixels then stay as they were. Colours and values count by their low 8 bits, except
// where FillRectApply computes with them.

#include "core/ImageClassData.h"

namespace zor {

// Zero, whole bytes, pad bytes and channels that a view does not show included. The whole-image form clears complete
// rows of the storage, with the padding at their end.
void ClearRect1(REALobject object);
void ClearRect5(REALobject object, int x, int y, int width, int height);

// Not a comparison of pixels: width times height where the two images are alike in size, family and alpha, otherwise
// -1. Applications use it to tell whether a pair of images can be worked on together, and it fetches every row.
std::int64_t CompareImages(REALobject object, REALobject other);

// One value into every channel, alpha included; pad bytes stay.
void FillRect1(REALobject object, int value);
void FillRect5(REALobject object, int x, int y, int width, int height, int value);

// Noise from rand(): one draw for each byte, in an order that depends on the family alone. Bytes outside the storage
// take their draw too, so that the sequence does not depend on how an image is stored.
//
// Where a pixel is all channels the noise ends at column `width` instead of x + width.
void FillRectRandom1(REALobject object);
void FillRectRandom5(REALobject object, int x, int y, int width, int height);

// A colour into images with red, green and blue. Without the A an existing alpha stays; with it, alpha is written
// where the image has one.
void FillRectRGB1(REALobject object, int red, int green, int blue);
void FillRectRGBA1(REALobject object, int red, int green, int blue, int alpha);
void FillRectRGB5(REALobject object, int x, int y, int width, int height, int red, int green, int blue);
void FillRectRGBA5(REALobject object, int x, int y, int width, int height, int red, int green, int blue, int alpha);
void FillRectRGBc1(REALobject object, REALcolor color);
void FillRectRGBcA1(REALobject object, REALcolor color, int alpha);
void FillRectRGBc5(REALobject object, int x, int y, int width, int height, REALcolor color);
void FillRectRGBcA5(REALobject object, int x, int y, int width, int height, REALcolor color, int alpha);

// Lays a colour over RGB and gray images. The weights of old and new add up to 65535 of 65536 parts, so that each
// application loses up to one step, also with alpha 0.
void FillRectApplyRGBA1(REALobject object, int red, int green, int blue, int alpha);
void FillRectApplyRGBA5(REALobject object, int x, int y, int width, int height, int red, int green, int blue,
                        int alpha);
void FillRectApplyRGBcA1(REALobject object, REALcolor color, int alpha);
void FillRectApplyRGBcA5(REALobject object, int x, int y, int width, int height, REALcolor color, int alpha);

// Complement of every channel, alpha included.
void Invert1(REALobject object);
void Invert5(REALobject object, int x, int y, int width, int height);

}  // namespace zor
