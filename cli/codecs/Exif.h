#pragma once
// A camera's EXIF block: what it tells, and the same block made true for another picture.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "codecs/Picture.h"

// Of what matters for the pixels.
struct ExifTags {
    int orientation = 1;  // 1 to 8
    Resolution resolution;
};

// Reads a block, with or without "Exif\0\0" before it. A damaged one gives what could be read of it.
ExifTags ReadExif(const std::uint8_t* bytes, std::size_t size);

// The largest block that is read; JPEG holds no larger one.
constexpr std::size_t kMaxExifBytes = 65527;

// Whether anything of the block could be read.
bool HoldsExif(const std::vector<std::uint8_t>& block);

// What people look for. Numbers that a block does not have, or has as something that cannot be, are left out.
struct ExifFacts {
    std::string make, model, lens;
    std::string taken;  // "2024-05-17 09:30:00 +02:00"
    std::optional<double> exposureTime, aperture, sensitivity, focalLength, focalLength35;  // seconds, f, ISO, mm
    std::optional<double> latitude, longitude, altitude;     // degrees to north and east, metres above the sea
    std::vector<std::pair<std::string, std::string>> texts;  // "description", "artist", ...
};
ExifFacts FactsOfExif(const std::vector<std::uint8_t>& block);

// The block for a picture of this size that is stored as it is shown: orientation, sizes, resolution and colours say
// so, the small copy of the picture that was is left out, and what tells how its pixels were stored. Without the place
// where it was taken, if that is asked for. Empty where nothing is left, or nothing could be read.
enum class ColourFate { Kept, Srgb, Other };  // whether colours were converted, and to what
struct ExifTruth {
    std::int64_t width = 0;
    std::int64_t height = 0;
    Resolution resolution;
    ColourFate colours = ColourFate::Kept;
    bool withoutPlace = false;
};
std::vector<std::uint8_t> TrueExif(const std::vector<std::uint8_t>& block, const ExifTruth& truth);

// A block with the resolution alone; empty where there is none to tell.
std::vector<std::uint8_t> MakeExif(const Resolution& resolution);

// A block as the directories that it is made of, for files that keep these by themselves. Values have the least byte
// first.
struct ExifValue {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;  // as TIFF counts them
    std::uint32_t count = 0;
    std::vector<std::uint8_t> bytes;
};
struct ExifDirectories {
    std::vector<ExifValue> picture, camera, place, exchange;
};
ExifDirectories TakeExifApart(const std::vector<std::uint8_t>& block);
std::vector<std::uint8_t> PutExifTogether(const ExifDirectories& directories);
