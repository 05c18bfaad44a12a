#pragma once
// TIFF and BigTIFF files through libtiff.

#include "codecs/Picture.h"

std::unique_ptr<PictureReader> OpenTiff(InputFile& file, Notes& notes);
void WriteTiff(OutputFile& file, RowSource& rows, const PictureHeader& tags, const WriteOptions& options,
               const RowTick& tick);
