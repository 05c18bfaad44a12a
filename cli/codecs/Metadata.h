#pragma once
// What people and cameras have written into a picture file beside its pixels, as it passes from reader to writer.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct PictureText {
    std::string keyword;  // what it is, such as "Title"
    std::string text;     // UTF-8
    std::string language, translatedKeyword;
};

// The keyword of a text that says nothing else about itself, as of a comment in JPEG.
constexpr const char* kCommentKeyword = "Comment";

struct Metadata {
    std::vector<std::uint8_t> exif;  // the block of a camera, without "Exif\0\0" before it; empty: none
    std::vector<std::uint8_t> xmp;   // the packet, in XML; empty: none
    std::vector<std::uint8_t> iptc;  // the records of agencies, without Photoshop's resource around them; empty: none
    std::vector<PictureText> texts;

    [[nodiscard]] bool Empty() const { return exif.empty() && xmp.empty() && iptc.empty() && texts.empty(); }
};

// How much of each a format holds, in bytes; 0: nothing of it.
struct MetadataRoom {
    std::size_t exif = 0;
    std::size_t xmp = 0;
    std::size_t iptc = 0;
    std::size_t comment = 0;  // each
    std::size_t text = 0;     // each of those with another keyword
};

// More than this is taken out of no file: what people write is far below, and a few bytes may unpack to any amount.
constexpr std::size_t kMaxMetadataBytes = std::size_t{16} << 20;
