#pragma once
// Drawing of one picture into another.

#include "HostPictures.h"

namespace zorhost::runtime {

// A size left out by the caller.
constexpr int kWholeSize = -10000;

struct DrawRect {
    int x = 0, y = 0, w = kWholeSize, h = kWholeSize;
};

// Draws a part of source over a part of the destination, stretched to its size by repeating and leaving out pixels. A
// source size of kWholeSize reaches to the end of the source, a destination size of kWholeSize is that of the source
// part. What lies outside of either picture is left out, and nothing is drawn for a size below 1. Where the source has
// a mask, black in it shows the picture, white leaves what was there, and gray mixes, channel by channel; beyond the
// mask's edge the picture shows. The destination's own mask stays as it is.
void DrawPicture(Runtime& host, PictureData& destination, PictureData& source, DrawRect to, DrawRect from);

// The method DrawPicture of class Graphics, as plug-ins call it.
void DrawPicture_Service(REALobject graphics, REALobject source, int x, int y, int w, int h, int sx, int sy, int sw,
                         int sh);

}  // namespace zorhost::runtime
