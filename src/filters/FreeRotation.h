#pragma once
// Rotation by any angle, counter-clockwise for positive angles, in three shears after the nearest right angle.

#include "core/ImageClassData.h"

namespace zor {

// Multiples of 90 degrees give the exact turn, and of 360 the image itself. Any other angle gives a new image of the
// same format that holds the whole picture, with the corners in the background colour; of the colour arguments those
// count that the format has channels for, with their low 8 bits.
//
// Locked for the caller; null where an image cannot be used or made, for an image of no family, and for an angle that
// is not finite.
REALobject rbRotate(REALobject object, double angle, int red, int green, int blue, int alpha, int gray, int cyan,
                    int magenta, int yellow, int black);

}  // namespace zor
