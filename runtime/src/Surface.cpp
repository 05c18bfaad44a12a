#include "Surface.h"

#include <algorithm>
#include <cstring>

#include "GDLibrary.h"

namespace zorhost::runtime {

int WidthOf(const Surface& surface) {
    return surface.gd ? gdImageSX(surface.gd) : surface.gworld ? surface.gworld->width : 0;
}
int HeightOf(const Surface& surface) {
    return surface.gd ? gdImageSY(surface.gd) : surface.gworld ? surface.gworld->height : 0;
}
int DepthOf(const Surface& surface) {
    if (surface.gd) return gdImageTrueColor(surface.gd) ? 32 : 8;
    return surface.gworld ? surface.gworld->depth : 0;
}

static Rgb Split(int word) {
    return {static_cast<unsigned char>(word >> 16), static_cast<unsigned char>(word >> 8),
            static_cast<unsigned char>(word)};
}

static Rgb GDPixelAt(gdImagePtr image, int x, int y) {
    if (gdImageTrueColor(image)) return Split(gdImageTrueColorPixel(image, x, y));
    const int index = gdImagePalettePixel(image, x, y);
    return {static_cast<unsigned char>(image->red[index]), static_cast<unsigned char>(image->green[index]),
            static_cast<unsigned char>(image->blue[index])};
}

static unsigned char Gray(Rgb color) {
    return static_cast<unsigned char>((77 * color.red + 151 * color.green + 28 * color.blue) >> 8);
}

static unsigned char* RowOf(const GWorld& gworld, int y) {
    return gworld.pixels.get() + static_cast<std::ptrdiff_t>(y) * gworld.rowBytes;
}

static unsigned char FromFiveBits(int value) {
    return static_cast<unsigned char>((value << 3) | (value >> 2));
}

static Rgb GWorldPixelAt(const GWorld& gworld, int x, int y) {
    const unsigned char* const row = RowOf(gworld, y);
    switch (gworld.depth) {
        case 32:
            return {row[4 * x + 1], row[4 * x + 2], row[4 * x + 3]};
        case 24:
            return {row[3 * x], row[3 * x + 1], row[3 * x + 2]};
        case 16: {
            const int word = row[2 * x] << 8 | row[2 * x + 1];
            return {FromFiveBits(word >> 10 & 31), FromFiveBits(word >> 5 & 31), FromFiveBits(word & 31)};
        }
        case 8:
            return {row[x], row[x], row[x]};
        default: {
            const bool black = (row[x / 8] & 0x80 >> x % 8) != 0;
            return black ? Rgb{} : Rgb{255, 255, 255};
        }
    }
}

static void SetGWorldPixel(const GWorld& gworld, int x, int y, Rgb color) {
    unsigned char* const row = RowOf(gworld, y);
    switch (gworld.depth) {
        case 32:
            row[4 * x] = 255;
            row[4 * x + 1] = color.red;
            row[4 * x + 2] = color.green;
            row[4 * x + 3] = color.blue;
            return;
        case 24:
            row[3 * x] = color.red;
            row[3 * x + 1] = color.green;
            row[3 * x + 2] = color.blue;
            return;
        case 16: {
            const int word = color.red >> 3 << 10 | color.green >> 3 << 5 | color.blue >> 3;
            row[2 * x] = static_cast<unsigned char>(word >> 8);
            row[2 * x + 1] = static_cast<unsigned char>(word);
            return;
        }
        case 8:
            row[x] = Gray(color);
            return;
        default: {
            const int bit = 0x80 >> x % 8;
            row[x / 8] = static_cast<unsigned char>(Gray(color) < 128 ? row[x / 8] | bit : row[x / 8] & ~bit);
            return;
        }
    }
}

Rgb PixelAt(const Surface& surface, int x, int y) {
    return surface.gd ? GDPixelAt(surface.gd, x, y) : GWorldPixelAt(*surface.gworld, x, y);
}

void SetPixel(const Surface& surface, int x, int y, Rgb color) {
    if (surface.gworld) return SetGWorldPixel(*surface.gworld, x, y, color);
    if (gdImageTrueColor(surface.gd)) {
        gdImageTrueColorPixel(surface.gd, x, y) = color.red << 16 | color.green << 8 | color.blue;
    } else {
        const int index = FindGD()->ImageColorResolve(surface.gd, color.red, color.green, color.blue);
        gdImagePalettePixel(surface.gd, x, y) = static_cast<unsigned char>(index);
    }
}

void FillWhite(const Surface& surface) {
    if (surface.gworld) {
        const GWorld& gworld = *surface.gworld;
        const std::size_t size = static_cast<std::size_t>(gworld.rowBytes) * static_cast<std::size_t>(gworld.height);
        std::memset(gworld.pixels.get(), gworld.depth == 1 ? 0 : 255, size);
        return;
    }
    const gdImagePtr image = surface.gd;
    for (int y = 0; y < gdImageSY(image); ++y) {
        if (gdImageTrueColor(image)) {
            std::fill_n(image->tpixels[y], gdImageSX(image), 0xFFFFFF);
        } else {
            std::fill_n(image->pixels[y], gdImageSX(image), static_cast<unsigned char>(255));
        }
    }
}

gdImagePtr NewGDImage(int width, int height, bool palette) {
    if (width < 1 || height < 1 || width > kLongestSide || height > kLongestSide) return nullptr;
    const GDLibrary* const gd = FindGD();
    if (!gd) return nullptr;
    const gdImagePtr image = palette ? gd->ImageCreate(width, height) : gd->ImageCreateTrueColor(width, height);
    if (!image) return nullptr;
    if (palette) {
        for (int gray = 0; gray < 256; ++gray) gd->ImageColorAllocate(image, gray, gray, gray);
    }
    FillWhite({.gd = image});
    return image;
}

void FreeGDImage(gdImagePtr image) {
    if (image) FindGD()->ImageDestroy(image);
}

}  // namespace zorhost::runtime
