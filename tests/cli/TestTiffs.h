#pragma once
// TIFF files made and read back by the tests themselves, whole files at a time and with libtiff alone.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "TestPictures.h"

struct TiffFile {
    int width = 0;
    int height = 0;
    int samples = 1;  // a pixel
    int bits = 8;     // of a sample
    int photometric = 1;
    int compression = 1;
    int predictor = 1;
    bool planes = false;
    int tileWidth = 0;  // 0: strips
    int tileHeight = 0;
    int rowsPerStrip = 8;
    bool bigEndian = false;
    bool big = false;                   // BigTIFF
    std::vector<std::uint16_t> values;  // of all samples, pixel by pixel, whatever the way they are stored
    std::vector<std::uint16_t> extras;  // what the samples behind the colours are: 0 unknown, 1 associated, 2 alpha
    bool tellsExtras = true;
    std::vector<std::array<std::uint16_t, 3>> palette;
    std::vector<std::uint8_t> profile;
    int orientation = 0;  // 0: no tag
    int unit = 0;         // 0: no resolution; else 1 none, 2 inch, 3 centimetre
    double x = 0;
    double y = 0;
    int pages = 1;  // the same picture as often as that
};

void SaveTiff(const std::string& path, const TiffFile& file);
TiffFile LoadTiff(const std::string& path);  // JPEG as RGB; throws for a file that is none or is damaged

// The plain file of such pixels: gray or RGB, either with alpha. Four channels are CMYK when asked for.
TiffFile PlainTiff(const Pixels& pixels, bool inks = false);

// The samples of an 8-bit file as they are.
Pixels PixelsOf(const TiffFile& file);

// What the samples mean, in 8 bits a channel, by the definition of the format. Channels that are no colour and no alpha
// are left out, as is the alpha of CMYK.
Pixels Expand(const TiffFile& file);
