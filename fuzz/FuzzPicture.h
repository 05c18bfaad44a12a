#pragma once
// What every reader of picture files is put through.

#include "codecs/Picture.h"

using OpenPictureFile = std::unique_ptr<PictureReader> (*)(InputFile& file, Notes& notes);

// Opens the bytes if they are a file of this reader, tells about them as `zor info` does, and reads the pixels of
// pictures up to a million of them. For LLVMFuzzerTestOneInput to return.
int FuzzPicture(OpenPictureFile open, const std::uint8_t* bytes, std::size_t size);
