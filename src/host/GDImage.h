#pragma once

namespace zor {

// A picture of a console application: the image record of the GD graphics library, version 2. Declared up to the last
// field that is read here; the record goes on behind it. A test holds the offsets against the library's own header.

struct GDImage {
    unsigned char** pixels;  // rows of a palette image; null for true colour
    int width;
    int height;
    int colorsTotal;
    int red[256];
    int green[256];
    int blue[256];
    int open[256];
    int transparent;
    int* polyInts;
    int polyAllocated;
    GDImage* brush;
    GDImage* tile;
    int brushColorMap[256];
    int tileColorMap[256];
    int styleLength;
    int stylePos;
    int* style;
    int interlace;
    int thick;
    int alpha[256];
    int trueColor;  // not 0: tpixels holds the pixels
    int** tpixels;  // one address a row, each of `width` words
};

}  // namespace zor
