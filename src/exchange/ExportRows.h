#pragma once
// What becomes of a row of an image in a host picture.

#include "core/RowSpan.h"
#include "kernels/Export.h"

namespace zor {

// A row's part in an export, the same for all rows of a rectangle.
struct ExportPlan {
    ExportRowFunction plain;  // defines what is stored
    ExportRowFunction quick;  // stores the same
    std::ptrdiff_t first;     // bytes of a pixel that the quick one reads, half-open, from the pixel's start
    std::ptrdiff_t last;
    std::ptrdiff_t srcSize;      // bytes from one pixel of the image to the next
    std::ptrdiff_t pictureSize;  // the same of the picture
    ChannelSet src;              // as many channels as the colours take
};

// pixelType is one of the three of exchange/PictureEditor.h.
ExportPlan MakeExportPlan(ExportColours colours, const ChannelSet& src, int srcSize, int pixelType);

// Writes `width` pixels from column `x` of the row on. Samples that the row does not have read 0; a row that does not
// exist writes nothing.
void ExportRow(const ExportPlan& plan, const RowSpan& row, std::ptrdiff_t x, std::ptrdiff_t width, std::uint8_t* dst);

}  // namespace zor
