#pragma once
// Rows in which each byte of an area becomes another, whatever is around it.

#include <functional>
#include <memory>

#include "Rows.h"
#include "effects/PixelEffects.h"

// What a byte of a channel becomes; alpha is the channel behind the colours.
using ByteMap = std::function<int(int channel, int byte)>;

// The same in an image.
void MapImage(Raster* image, const PixelArea& area, const ByteMap& map);

std::unique_ptr<RowSource> MapRows(std::unique_ptr<RowSource> rows, const PixelArea& area, const ByteMap& map);
