#pragma once
// The metadata of TIFF files: EXIF in directories of its own and among the tags of the picture, XMP and IPTC as tags.
// libtiff turns values into numbers of its own kind, and not each into the same again; here they stay as they are.

#include <tiffio.h>

#include <cstdint>

#include "codecs/Metadata.h"

class InputFile;
class Notes;
class OutputFile;

// Of the directory that libtiff has at hand, for which it is not asked. `file` can be read anywhere. What is left out
// is said.
Metadata ReadTiffMetadata(InputFile& file, TIFF* tiff, Notes& notes);

// Sets the tags of the first directory, and puts those that EXIF has for itself at the end of the file, into which
// libtiff has written nothing but its head. False: an error, which the file or libtiff tells.
bool WriteTiffMetadata(OutputFile& file, TIFF* tiff, const Metadata& metadata);
