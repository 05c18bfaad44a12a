#pragma once
// CopyPixels: a rectangle of one image into another, at the same size, with its own table of conversions between
// families. False where nothing was copied; there are no exceptions.
//
// Between images of one layout every row is one run of bytes, which goes on for DestX pixels behind the rectangle;
// everywhere else exactly the rectangle is written. Where both images share their pixels, what is read may already
// have been written.

#include "core/ImageClassData.h"

namespace zor {

REALboolean rbCopyPixels2(REALobject object, REALobject src);
REALboolean rbCopyPixels6(REALobject object, REALobject src, int dstX, int dstY, int dstWidth, int dstHeight);
REALboolean rbCopyPixels8(REALobject object, REALobject src, int dstX, int dstY, int dstWidth, int dstHeight, int srcX,
                          int srcY);

}  // namespace zor
