#pragma once
// The packed rows of a TIFF file, whichever way it cuts them into strips or tiles.

#include <cstdint>
#include <functional>
#include <memory>

#include "codecs/TiffLayout.h"
#include "codecs/TiffStream.h"

// Pixels of one row as the file packs them, from column `x` on; good until the next call.
using TakeTiffPiece = std::function<void(std::int64_t x, int width, const std::uint8_t* packed)>;

class TiffRows {
public:
    virtual ~TiffRows() = default;

    // All pieces of row `y`, from the left, as far as they touch the columns `first` to `end`. Rows go downwards; those
    // that are left out are not read where the file allows that. A RunError where the file has no such pixels.
    virtual void Read(std::int64_t y, std::int64_t first, std::int64_t end, const TakeTiffPiece& take) = 0;
};

// Of one plane of the file, or of all samples where it has no planes. Strips of up to so many bytes are held whole,
// which is faster; larger ones are decoded line by line, for which nothing else may be read through `tiff`. All must
// stay as long as the rows are read.
std::unique_ptr<TiffRows> RowsOfTiff(TiffStream& stream, TIFF* tiff, const TiffLayout& layout, int plane,
                                     std::uint64_t wholeStripBytes);
