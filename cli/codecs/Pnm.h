#pragma once
// The formats of the Netpbm family: PBM, PGM and PPM, in plain text and in bytes, and PAM.

#include "codecs/Picture.h"

// The first picture of the file; what follows it is left unread.
std::unique_ptr<PictureReader> OpenPnm(InputFile& file, Notes& notes);

// In bytes, 255 for the largest value. PPM turns gray into RGB; PNM is PGM, PPM or, for alpha and CMYK, PAM.
void WritePgm(OutputFile& file, RowSource& rows, const PictureHeader& tags, const WriteOptions& options,
              const RowTick& tick);
void WritePpm(OutputFile& file, RowSource& rows, const PictureHeader& tags, const WriteOptions& options,
              const RowTick& tick);
void WritePam(OutputFile& file, RowSource& rows, const PictureHeader& tags, const WriteOptions& options,
              const RowTick& tick);
void WritePnm(OutputFile& file, RowSource& rows, const PictureHeader& tags, const WriteOptions& options,
              const RowTick& tick);
