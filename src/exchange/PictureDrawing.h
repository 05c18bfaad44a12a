#pragma once
// Drawing one host picture onto another, by the host's own drawing where it offers that. Nothing here raises an
// exception. Host thread only.

#include "host/HostCalls.h"

namespace zor {

// Pixels of a side; 0 for nil and where the host does not tell.
int GetPictureWidth(REALobject picture);
int GetPictureHeight(REALobject picture);

// A new picture of 32 bits with the source drawn into it, locked once for the caller; nil if it cannot be made. One
// whose drawing failed is blank.
REALobject ClonePicture(REALobject picture);

// The same at a given size.
REALobject ClonePicture(REALobject picture, int width, int height);

// Draws `mask` into the mask of `picture`, which is made if there is none. False if w or h is below 1, if picture is
// nil, or if the drawing failed; true without a mask.
bool AddPictureMask(REALobject picture, REALobject mask, int w, int h);

// Draws a part of source at a place of destination, through the graphics object (locked by the caller) or without one.
// Falls back on OwnCopy. True if it was drawn.
bool GraphicsDrawPicture(REALobject graphics, REALobject dst, REALobject src, int x, int y, int w, int h, int sx,
                         int sy, int sw, int sh);
bool GraphicsDrawPicture(REALobject dst, REALobject src, int x, int y, int w, int h, int sx, int sy, int sw, int sh);

// Copies a whole GD image onto one of the same size; anything else is false. For hosts without a drawing method.
bool OwnCopy(REALobject dst, REALobject src, int x, int y, int w, int h, int sx, int sy, int sw, int sh);

}  // namespace zor
