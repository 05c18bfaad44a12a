#include "Expect.h"
#include "codecs/Exif.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const ExifTags tags = ReadExif(bytes, size);
    Expect(tags.orientation >= 1 && tags.orientation <= 8, "the orientation is one of eight");
    const Resolution& resolution = tags.resolution;
    if (resolution.unit == Resolution::Unit::Unknown) return 0;
    Expect(resolution.x >= 1 && resolution.y >= 1, "a resolution is no zero");
    const std::vector<std::uint8_t> block = MakeExif(resolution);
    const Resolution again = ReadExif(block.data(), block.size()).resolution;
    Expect(again.unit == resolution.unit && again.x == resolution.x && again.y == resolution.y,
           "a resolution that was read is written as it is");
    return 0;
}
