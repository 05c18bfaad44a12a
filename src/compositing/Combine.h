#pragma once
// The method Combine: lays one image over another within a rectangle. Which arguments are present decides how: through
// a mask image, through one mask colour, as a mask for a fore colour, or as a plain copy.

#include "core/ImageClassData.h"

namespace zor {

// Class members. A negative colour means that there is none; the shorter forms have none. The mask must be of the size
// of the whole image. False if nothing could be done; an image of a family that only copies know stays as it is and
// gives true.
REALboolean PictureCombine1(REALobject object, REALobject image, REALobject mask, int dstX, int dstY, int srcX,
                            int srcY, int width, int height, REALboolean useColours, int foreColour, int maskColour);
REALboolean PictureCombine2(REALobject object, REALobject image, REALobject mask, int dstX, int dstY, int srcX,
                            int srcY, int width, int height, REALboolean useColours, int foreColour);
REALboolean PictureCombine3(REALobject object, REALobject image, REALobject mask, int dstX, int dstY, int srcX,
                            int srcY, int width, int height, REALboolean useColours);
REALboolean PictureCombine1pm(REALobject object, REALobject image, REALboolean premultiplied, REALobject mask, int dstX,
                              int dstY, int srcX, int srcY, int width, int height, REALboolean useColours,
                              int foreColour, int maskColour);
REALboolean PictureCombine2pm(REALobject object, REALobject image, REALboolean premultiplied, REALobject mask, int dstX,
                              int dstY, int srcX, int srcY, int width, int height, REALboolean useColours,
                              int foreColour);
REALboolean PictureCombine3pm(REALobject object, REALobject image, REALboolean premultiplied, REALobject mask, int dstX,
                              int dstY, int srcX, int srcY, int width, int height, REALboolean useColours);

}  // namespace zor
