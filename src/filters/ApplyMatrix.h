#pragma once
// Square convolution in integers, with replicated edges. It is a correlation: matrix[0] weighs the pixel to the upper
// left. An even dimension has its centre to the lower right of the middle.
//
// The first 2500 values of the matrix count, dimension values to a row; missing ones are 0. A weight of 255 or more
// leaves its cell out. A channel becomes sum + delta or, where scaleFactor is not 1, (sum + delta) * scaleFactor
// truncated toward zero; both are cut to 0 to 255. Sums are 32 bits wide and wrap. Alpha is treated like a colour.
//
// dst receives the picture at the source's coordinates, whatever its own size. A null dst makes an image of the
// source's height as its width and the source's width as its height, so only square images come back whole that way.
// The result is dst or that image, locked for the caller; null where an image cannot be used or made. An image of no
// family leaves the destination as it was.

#include "core/ImageClassData.h"

namespace zor {

REALobject PictureMatrix3(REALobject object, REALobject dst, int dimension, REALarray matrix);
REALobject PictureMatrix4(REALobject object, REALobject dst, int dimension, REALarray matrix, int delta);
REALobject PictureMatrix5(REALobject object, REALobject dst, int dimension, REALarray matrix, int delta,
                          double scaleFactor);

}  // namespace zor
