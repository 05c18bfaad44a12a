#pragma once
// The parts of a JPEG file that hold metadata: APP1, APP13 and comments.

#include <cstdio>

#include <jpeglib.h>

#include <cstdint>
#include <vector>

#include "codecs/Metadata.h"

struct JpegMarker {
    int number = 0;
    std::vector<std::uint8_t> bytes;
};

// Adds what they hold. True: there is more of XMP than its packet, in a second one that is not taken.
bool TakeJpegMarkers(const jpeg_marker_struct* first, Metadata* metadata);

// Those that hold it all; texts with a keyword of their own have no place.
std::vector<JpegMarker> JpegMarkersOf(const Metadata& metadata);
