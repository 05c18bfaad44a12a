#pragma once
// The few entries of a camera's EXIF block that matter for the pixels.

#include <cstddef>
#include <cstdint>

#include "codecs/Picture.h"

struct ExifTags {
    int orientation = 1;  // 1 to 8
    Resolution resolution;
};

// Reads a block that starts with "Exif\0\0". A damaged one gives what could be read of it.
ExifTags ReadExif(const std::uint8_t* bytes, std::size_t size);
