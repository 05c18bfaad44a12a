#pragma once
// Picture files as images.

#include <memory>
#include <string>

#include "PixelKind.h"
#include "Raster.h"
#include "Rows.h"
#include "codecs/Picture.h"
#include "files/InputFile.h"

// The format of the file, by its content; a RunError when it is none that is known.
const Codec& InputCodec(InputFile& file);

// Reads the header; a RunError as above, or where it is damaged.
std::unique_ptr<PictureReader> OpenPicture(InputFile& file, Notes& notes);

// The shape of the image that the file makes once it is turned to its orientation. A RunError when no image can be so
// large.
ImageShape ShapeOf(const InputFile& file, const PictureHeader& header);

// Throws a RunError unless there is room for that image.
void CheckPictureFits(const InputFile& file, const PictureHeader& header);

// The pixels behind the header, turned to their orientation. The checks come before it. A RunError for damaged pixels.
Raster ReadPicture(PictureReader& reader, const RowTick& tick);

// Whether rows can be had as they are decoded: the file can be read so, and they stay rows, in their order.
bool GivesRows(const PictureReader& reader);

// The pixels as rows, as they are decoded or else out of an image. The reader must stay as long as they are taken, and
// the tick too.
std::unique_ptr<RowSource> RowsOfPicture(PictureReader& reader, const RowTick& tick);

// The whole file. A RunError as of the three above.
Raster LoadPicture(const std::string& path, Notes& notes, const RowTick& tick);
