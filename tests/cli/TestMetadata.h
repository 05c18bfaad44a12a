#pragma once
// EXIF, XMP, IPTC and texts, put into picture files and found there again byte by byte, without any library for them.

#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

// One entry of a directory. Fractions are two numbers, letters and bytes a number each.
struct ExifEntryOf {
    int tag = 0;
    int type = 0;  // 1 byte, 2 letters, 3 and 4 numbers, 5 fractions, 7 bytes of any meaning, 10 fractions with a sign
    std::vector<std::uint32_t> numbers;
    friend bool operator==(const ExifEntryOf&, const ExifEntryOf&) = default;
};
void PrintTo(const ExifEntryOf& entry, std::ostream* out);
ExifEntryOf Letters(int tag, const std::string& text);

// The directories without what leads from one to the other.
struct ExifOf {
    std::vector<ExifEntryOf> picture, camera, place, exchange, small;
    std::string thumbnail;                            // a JPEG file in the block
    std::vector<std::pair<int, std::string>> blocks;  // tags of the first directory that hold bytes: XMP and others

    // Null: there is none.
    [[nodiscard]] const ExifEntryOf* Find(const std::vector<ExifEntryOf>& directory, int tag) const;
    friend bool operator==(const ExifOf&, const ExifOf&) = default;
};
void PrintTo(const ExifOf& exif, std::ostream* out);

// A block, or a whole TIFF file where `front`, its pixels, stands at place 8 (in BigTIFF 16).
std::string ExifBytes(const ExifOf& exif, bool bigEndian = false, const std::string& front = "", bool big = false);
ExifOf ReadExifBytes(const std::string& bytes);  // throws where anything of it is damaged

// Tags of a gray picture of 8 bits whose pixels are at place 8, or 16.
std::vector<ExifEntryOf> GrayTiffTags(int width, int height, bool big = false);

// A camera's block with all that matters; the places in its notes are kept apart from the values.
ExifOf CameraExif(int orientation);

struct MetadataOf {
    std::string exif;  // without "Exif\0\0"
    std::string xmp;
    std::string iptc;
    std::vector<std::pair<std::string, std::string>> texts;  // keyword and text as the file has it, in JPEG ""
    std::vector<std::string> kinds;                          // of PNG's texts: "tEXt"
    friend bool operator==(const MetadataOf&, const MetadataOf&) = default;
};

// What the file holds, told by its suffix.
MetadataOf LoadMetadata(const std::string& path);

// Puts pieces into a file that is there: markers of JPEG behind its start, chunks of PNG before or behind its pixels.
void AddJpegMarkers(const std::string& path, const std::vector<std::pair<int, std::string>>& markers);
void AddPngChunks(const std::string& path, const std::string& chunks, bool behindPixels = false);

// "Photoshop 3.0", a resource that is another, the records, and one more.
std::string PhotoshopBlock(const std::string& iptc);

// One record of IPTC.
std::string IptcRecord(int number, const std::string& value, int set = 2);
