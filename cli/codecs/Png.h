#pragma once
// PNG files through libpng.

#include "codecs/Picture.h"

std::unique_ptr<PictureReader> OpenPng(InputFile& file, Notes& notes);
void WritePng(OutputFile& file, RowSource& rows, const PictureHeader& tags, const WriteOptions& options,
              const RowTick& tick);
