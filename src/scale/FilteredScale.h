#pragma once
// Scaling with a filter: checks, the choice of kernel and format pair, and the temporary image.
//
// The image that the method is called on is the target and is filled in place. width and height say what is written;
// the target should have that much room. temp may be null, or an image of any format with `width` times the pair's
// pitch bytes in a row and as many rows as the source. True if all passes ran; after false the target is unchanged.

#include "host/HostInterface.h"

namespace zor {

// Modes: 1 triangle, 2 box, 3 lanczos3, 4 lanczos8, 5 mitchell, 6 poly3, 7 cubic.
REALboolean PictureScaleZOR(REALobject dst, REALobject src, REALobject temp, int mode, int width, int height);

// The same result on several threads: below 0 none, 0 as many as there are processors, at most 32 otherwise. Images in
// files are worked on by the calling thread alone.
REALboolean PictureScaleZORMT(REALobject dst, int threads, REALobject src, REALobject temp, int mode, int width,
                              int height);

}  // namespace zor
