#pragma once
// CopyGWorld: the whole image as a QuickDraw GWorld that an object of the application's class GWorldZOR owns. Gray
// images become 8 bits, without their alpha, RGB images 24 bits or, with alpha, 32 bits; other families give nil.
//
// The object is locked once for the caller and the pixels of its GWorld stay locked: unlocking them belongs to
// GWorldZOR. Nil where there is no QuickDraw or no such class. QuickDraw counts pixels in 16 bits: sides above 32767
// are cut to those, and what does not fit is not written.

#include "core/ImageClassData.h"

namespace zor {

REALobject CopyGWorld(REALobject object);

}  // namespace zor
