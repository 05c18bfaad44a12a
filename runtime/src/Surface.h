#pragma once
// The pixels of a picture, whatever they are stored in.

#include "QuickDraw.h"

struct gdImageStruct;

namespace zorhost::runtime {

struct Rgb {
    unsigned char red = 0, green = 0, blue = 0;
};

// One of the two; neither owned.
struct Surface {
    gdImageStruct* gd = nullptr;
    GWorld* gworld = nullptr;

    explicit operator bool() const { return gd || gworld; }
};

int WidthOf(const Surface& surface);  // 0 without pixels
int HeightOf(const Surface& surface);
int DepthOf(const Surface& surface);  // of GD images 32, or 8 with a palette

// x and y lie inside. Depths with fewer colours take the nearest they have. Written pixels are opaque.
Rgb PixelAt(const Surface& surface, int x, int y);
void SetPixel(const Surface& surface, int x, int y, Rgb color);

void FillWhite(const Surface& surface);

// True colour, or a palette of 256 grays. White. Null without the GD library, where memory runs out, and beyond the
// longest side of a picture.
gdImageStruct* NewGDImage(int width, int height, bool palette);
void FreeGDImage(gdImageStruct* image);  // null is allowed

// The longest side of a picture, in pixels.
constexpr int kLongestSide = 32767;

}  // namespace zorhost::runtime
