#pragma once
// WebP files through libwebp.

#include "codecs/Picture.h"

// Reads the whole file, which is small beside its pixels: tags that are needed first may stand at its end.
std::unique_ptr<PictureReader> OpenWebp(InputFile& file, Notes& notes);
void WriteWebp(OutputFile& file, RowSource& rows, const PictureHeader& tags, const WriteOptions& options,
               const RowTick& tick);
