#include "Expect.h"
#include "codecs/Exif.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const ExifTags tags = ReadExif(bytes, size);
    Expect(tags.orientation >= 1 && tags.orientation <= 8, "the orientation is one of eight");
    const std::vector<std::uint8_t> given(bytes, bytes + size);
    const ExifFacts facts = FactsOfExif(given);
    Expect(facts.latitude.has_value() == facts.longitude.has_value(), "a place has two numbers");
    const std::vector<std::uint8_t> truer = TrueExif(given, {30, 20, {}, ColourFate::Srgb, true});
    const ExifFacts left = FactsOfExif(truer);
    Expect(ReadExif(truer.data(), truer.size()).orientation == 1, "a true block asks for no turn");
    Expect(!left.latitude && !left.altitude, "a place that is taken out is gone");
    Expect(TakeExifApart(truer).place.empty(), "nothing of the place is left");
    static_cast<void>(PutExifTogether(TakeExifApart(given)));
    const Resolution& resolution = tags.resolution;
    if (resolution.unit == Resolution::Unit::Unknown) return 0;
    Expect(resolution.x >= 1 && resolution.y >= 1, "a resolution is no zero");
    const std::vector<std::uint8_t> block = MakeExif(resolution);
    const Resolution again = ReadExif(block.data(), block.size()).resolution;
    Expect(again.unit == resolution.unit && again.x == resolution.x && again.y == resolution.y,
           "a resolution that was read is written as it is");
    return 0;
}
