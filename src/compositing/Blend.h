#pragma once
// The masked blend: each pixel of a rectangle of the target is mixed with the pixel of the source by the pixel of a
// mask, which is read at the place of the source. White of the mask keeps the target, black gives the source, channel
// by channel; a mask with alpha steers the target's alpha by its own.

#include "core/ImageClassData.h"

namespace zor {

// The rectangle must lie within the target and the source, and the mask be of the source's size; what is missing of a
// row all the same reads as 0 and is not written. Nothing happens if one of the images is neither gray nor RGB.
// Yields on the target after each row.

// For a source with plain colours. No result leaves a byte.
void Case2pf(ImageClassData* dst, ImageClassData* src, ImageClassData* mask, int dstX, int dstY, int width, int height,
             int srcX, int srcY);

// For a source whose colours were multiplied by its alpha beforehand. Sums above 255 keep their low byte. A gray target
// counts by its gray, an RGB target by its alpha, whatever its colours were: full where it has none.
void Case2pt(ImageClassData* dst, ImageClassData* src, ImageClassData* mask, int dstX, int dstY, int width, int height,
             int srcX, int srcY);

}  // namespace zor
