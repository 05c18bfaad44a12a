#pragma once
// The few entries of a camera's EXIF block that matter for the pixels.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/Picture.h"

struct ExifTags {
    int orientation = 1;  // 1 to 8
    Resolution resolution;
};

// Reads a block, with or without "Exif\0\0" before it. A damaged one gives what could be read of it.
ExifTags ReadExif(const std::uint8_t* bytes, std::size_t size);

// A block with the resolution alone, and without "Exif\0\0"; empty where there is none to tell.
std::vector<std::uint8_t> MakeExif(const Resolution& resolution);
