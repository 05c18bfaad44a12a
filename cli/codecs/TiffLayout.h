#pragma once
// What a TIFF directory says about the pixels, checked.

#include <tiffio.h>

#include <cstdint>
#include <string>

#include "codecs/TiffSamples.h"

struct TiffLayout {
    std::int64_t width = 0;
    std::int64_t height = 0;
    TiffSamples samples;
    std::int64_t tileWidth = 0;  // 0: the file has strips
    std::int64_t tileHeight = 0;
    std::string storage;  // for people
    std::string remark;   // what of the pixels is left out or had to be guessed; empty: nothing
};

// Reads the directory that libtiff stands at, and sets libtiff up to give such samples. The text says what the program
// cannot read, naming it; empty: all is well.
std::string ReadTiffLayout(TIFF* tiff, TiffLayout* layout);
