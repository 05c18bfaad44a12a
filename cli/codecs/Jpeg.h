#pragma once
// JPEG files through libjpeg.

#include "codecs/Picture.h"

std::unique_ptr<PictureReader> OpenJpeg(InputFile& file, Notes& notes);
void WriteJpeg(OutputFile& file, RowSource& rows, const PictureHeader& tags, const WriteOptions& options,
               const RowTick& tick);
