#pragma once
// Images that lie inside a host picture: they read and write the picture's own memory, row by row, without a copy.
//
// The picture stays alive by one lock; its description is locked for the moment of reading it only. A picture of a
// kind that has no such memory gives a quiet return with Valid false. The host is not told of changes.

#include "core/ImageClassData.h"

namespace zor {

// The constructor that applications call: the kinds of picture of the application's own world are tried, both where
// that is unknown. useAlpha: the fourth byte of a pixel is its alpha channel; otherwise it is padding.
void ImageConstructorPicture(REALobject object, REALobject picture, REALboolean useAlpha);

// On the pixels of a QuickDraw world of 24 or 32 bits; those of 24 bits have no alpha.
void ImageConstructorPictureGUI(REALobject object, REALobject picture, REALboolean useAlpha);

// On the rows of a true-colour GD image.
void ImageConstructorPictureConsole(REALobject object, REALobject picture, REALboolean useAlpha);

}  // namespace zor
