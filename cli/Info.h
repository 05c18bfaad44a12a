#pragma once
// What is told about a picture file.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "codecs/Exif.h"
#include "codecs/Picture.h"

struct PictureInfo {
    std::string path;   // as the command line names it
    std::string error;  // not empty: why the file cannot be read; nothing below counts then
    std::string format;
    PictureHeader header;
    std::int64_t fileBytes = -1;   // -1: not known
    std::int64_t memoryBytes = 0;  // that the image takes
};

// What people and cameras have written into the file.
struct MetadataInfo {
    ExifFacts camera;
    std::vector<std::pair<std::string, std::string>> texts;  // what each is, and the text: of EXIF, IPTC and others
};
MetadataInfo MetadataInfoOf(const Metadata& metadata);

// Width and height of the print in millimetres; 0 where the file does not tell.
struct PrintedSize {
    double width = 0;
    double height = 0;
};
PrintedSize PrintedSizeOf(const PictureHeader& header);

// An array with one object for each file, in their order. A name that is no UTF-8 has U+FFFD in place of each byte at
// fault.
std::string InfoAsJson(const std::vector<PictureInfo>& infos);
