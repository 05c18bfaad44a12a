#include "Drawing.h"

#include <algorithm>

#include "Objects.h"

namespace zorhost::runtime {

static unsigned char Mix(unsigned char below, unsigned char above, unsigned char mask) {
    return static_cast<unsigned char>((mask * below + (255 - mask) * above) / 255);
}

static Rgb MixColors(Rgb below, Rgb above, Rgb mask) {
    return {Mix(below.red, above.red, mask.red), Mix(below.green, above.green, mask.green),
            Mix(below.blue, above.blue, mask.blue)};
}

// A picture as the walk reads it: the pixels themselves, or what they were when the drawing began.
struct Reading {
    Surface surface;
    int width, height;
    std::vector<Rgb> kept;

    Reading(const Surface& pixels, bool keep) : surface(pixels), width(WidthOf(pixels)), height(HeightOf(pixels)) {
        if (!keep) return;
        kept.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) kept.push_back(PixelAt(surface, x, y));
        }
    }
    bool Has(std::int64_t x, std::int64_t y) const { return x >= 0 && y >= 0 && x < width && y < height; }
    Rgb At(int x, int y) const {
        if (kept.empty()) return PixelAt(surface, x, y);
        return kept[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
    }
};

// Where a pixel of the destination has its colour from: the middle of it, carried over into the source.
static std::int64_t SourceOf(std::int64_t index, std::int64_t size, std::int64_t sourceStart, std::int64_t sourceSize) {
    return sourceStart + (2 * index + 1) * sourceSize / (2 * size);
}

static void DrawPixels(const Surface& destination, const DrawRect& to, const DrawRect& from, const Reading& source,
                       const Reading& mask) {
    // Only what is inside the destination is walked, whatever the sizes say.
    const std::int64_t firstX = std::max<std::int64_t>(to.x, 0), firstY = std::max<std::int64_t>(to.y, 0);
    const std::int64_t endX = std::min<std::int64_t>(std::int64_t{to.x} + to.w, WidthOf(destination));
    const std::int64_t endY = std::min<std::int64_t>(std::int64_t{to.y} + to.h, HeightOf(destination));
    for (std::int64_t y = firstY; y < endY; ++y) {
        for (std::int64_t x = firstX; x < endX; ++x) {
            const std::int64_t sourceX = SourceOf(x - to.x, to.w, from.x, from.w);
            const std::int64_t sourceY = SourceOf(y - to.y, to.h, from.y, from.h);
            if (!source.Has(sourceX, sourceY)) continue;
            const int dx = static_cast<int>(x), dy = static_cast<int>(y);
            const int sx = static_cast<int>(sourceX), sy = static_cast<int>(sourceY);
            Rgb color = source.At(sx, sy);
            if (mask.Has(sx, sy)) color = MixColors(PixelAt(destination, dx, dy), color, mask.At(sx, sy));
            SetPixel(destination, dx, dy, color);
        }
    }
}

void DrawPicture(Runtime& host, PictureData& destination, PictureData& source, DrawRect to, DrawRect from) {
    const Surface below = destination.Pixels(), above = source.Pixels();
    const int width = WidthOf(above), height = HeightOf(above);
    if (from.w == kWholeSize) from.w = static_cast<int>(std::max<std::int64_t>(std::int64_t{width} - from.x, 0));
    if (from.h == kWholeSize) from.h = static_cast<int>(std::max<std::int64_t>(std::int64_t{height} - from.y, 0));
    if (to.w == kWholeSize) to.w = from.w;
    if (to.h == kWholeSize) to.h = from.h;
    if (!below || !above || from.w < 1 || from.h < 1 || to.w < 1 || to.h < 1) return;
    const PictureData* const maskPicture = NativeOf<PictureData>(host, source.mask);
    const Surface mask = maskPicture ? maskPicture->Pixels() : Surface{};
    const bool overItself = &source == &destination || maskPicture == &destination;
    DrawPixels(below, to, from, Reading(above, overItself), Reading(mask, overItself));
}

void DrawPicture_Service(REALobject graphics, REALobject source, int x, int y, int w, int h, int sx, int sy, int sw,
                         int sh) {
    Runtime* const host = Enter("DrawPicture");
    if (!host) return;
    const GraphicsData* const drawing = NativeOf<GraphicsData>(*host, graphics);
    PictureData* const destination = drawing ? NativeOf<PictureData>(*host, drawing->picture) : nullptr;
    PictureData* const image = NativeOf<PictureData>(*host, source);
    if (!destination || !image) {
        AddFault(*host, "DrawPicture was called without graphics or without a picture, " + OriginInCall(*host));
        return;
    }
    DrawPicture(*host, *destination, *image, {x, y, w, h}, {sx, sy, sw, sh});
}

}  // namespace zorhost::runtime
