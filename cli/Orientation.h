#pragma once
// The orientation that cameras and scanners note beside the pixels: 1 to 8, of which 1 asks for nothing. Pictures are
// turned right after they are read, so that all that follows sees them as people do.

#include <string>

#include "PixelKind.h"
#include "Raster.h"
#include "codecs/Picture.h"

// Those that leave rows what they are: as they stand, and with left and right exchanged.
constexpr int kUpright = 1, kMirrored = 2;

// Whether it is heeded at all; it is until this says otherwise.
void SetOrientationHeeded(bool heeded);

// The orientation to apply: the header's own, or 1 where it is not heeded.
int HeededOrientation(const PictureHeader& header);

// Width and height as the picture is shown.
ImageShape OrientedShape(const ImageShape& stored, int orientation);

// Throws unless there is room for what ApplyOrientation needs, for an image of this shape as it is stored. `what`
// begins the message: whom it is for.
void CheckOrientationFits(const std::string& what, const ImageShape& stored, int orientation);

// Turns the image; it has the oriented shape then. A RunError when there is no memory for it.
void ApplyOrientation(Raster* image, int orientation);

// What is true of the picture once it has been turned: the resolution lies the other way, the orientation is 1.
PictureHeader OrientedTags(const PictureHeader& header, int orientation);
