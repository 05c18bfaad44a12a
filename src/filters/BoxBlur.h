#pragma once
// Mean over a square of side 2 * radius + 1, as a vertical pass and a horizontal one, either of which can be left out.
// The cost does not depend on the radius.
//
// Radius is truncated toward zero; not-a-number counts as 0. Edge pixels stand in for what lies outside the image.
// A radius below 1 sums a single sample and still divides by 3, so each pass darkens the image to a third. Alpha is
// blurred like a colour. Each pass truncates. A radius of -1 or less, and one whose sums cannot be had in memory,
// changes no pixel.
//
// The result is dst or, where that is null, a new image like the source, locked for the caller; null where an image
// cannot be used or made. Source and dst should not share pixels: rows already written would be subtracted.

#include "core/ImageClassData.h"

namespace zor {

REALobject BoxBlurFilter(REALobject object, REALobject dst, double radius, REALboolean vertical,
                         REALboolean horizontal);

// The same several times over; the first step writes to dst, every later one to a fresh image. Fewer than one
// iteration gives the image itself.
REALobject BoxBlurFilter2(REALobject object, REALobject dst, double radius, int iterations, REALboolean vertical,
                          REALboolean horizontal);

}  // namespace zor
