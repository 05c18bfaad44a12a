#pragma once
// A slow, separate twin of the export to host pictures, and the worlds that its tests run in.

#include <ostream>
#include <string>
#include <vector>

#include "exchange/PictureEditor.h"
#include "support/FakePictures.h"
#include "support/Images.h"

using namespace zor;

// A world and what its new pictures are made of.
struct ExportWorld {
    const char* name;
    World world;
    int bits;
    int pixelType;
};
inline std::ostream& operator<<(std::ostream& out, const ExportWorld& world) {
    return out << world.name;
}
inline constexpr ExportWorld kExportWorlds[] = {{"Console", World::console, 32, PixelTypeNative32},
                                                {"Web", World::web, 32, PixelTypeNative32},
                                                {"DesktopOf32Bits", World::desktop, 32, PixelTypeARGB32},
                                                {"DesktopOf24Bits", World::desktop, 24, PixelTypeRGB24}};

struct ExportRect {
    int x, y, w, h;
};
std::string TextOf(const ExportRect& rect);

enum class ExportWhat { colours, alpha };

// The columns or rows of an image that a start and an extent name, one by one.
std::vector<int> ModelCut(int start, int extent, int side);

// What a picture of that type holds for one colour, in memory.
std::vector<std::uint8_t> ModelPixel(int pixelType, int red, int green, int blue);

// All pixel memory of the picture, with `padding` bytes of a fresh picture behind each row. No bytes: there is no
// picture.
std::vector<std::uint8_t> ModelExport(const TestImage& image, const Storage& storage, ExportWhat what,
                                      const ExportRect& rect, int pixelType, int padding);
