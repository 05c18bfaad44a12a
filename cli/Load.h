#pragma once
// Picture files as images.

#include <memory>
#include <string>

#include "PixelKind.h"
#include "Raster.h"
#include "codecs/Picture.h"
#include "files/InputFile.h"

// Reads the header; a RunError when the file is no picture of a known format, or is damaged.
std::unique_ptr<PictureReader> OpenPicture(InputFile& file, Notes& notes);

// The shape of the image that the file makes, checked against what memory holds; a RunError when it does not fit.
ImageShape ShapeOf(const InputFile& file, const PictureHeader& header);

// The whole file. A RunError as of the two above, and for damaged pixels.
Raster LoadPicture(const std::string& path, Notes& notes, const RowTick& tick);
