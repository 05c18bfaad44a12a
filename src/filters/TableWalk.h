#pragma once
// Passing channel bytes through tables of 256 values.

#include "filters/PointWalk.h"

struct ByteTable {
    std::uint8_t entry[256];
};

// Every channel of every pixel of the area becomes the entry of its own table at the source's byte. One table per
// channel of the pair, in its order.
void MapThroughTables(const PixelSides& sides, const PixelRect& area, const ByteTable* tables);

// The same, pixel by pixel: it defines the result, and serves where the order of pixels can show.
void MapThroughTables_Plain(const PixelSides& sides, const PixelRect& area, const ByteTable* tables);
