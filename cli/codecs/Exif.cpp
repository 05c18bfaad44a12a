#include "codecs/Exif.h"

#include <cmath>
#include <cstring>

namespace {

// The TIFF structure inside the block. Reads outside it give 0.
struct Tiff {
    const std::uint8_t* bytes;
    std::size_t size;
    bool bigEndian;

    [[nodiscard]] std::uint32_t Number(std::size_t at, int byteCount) const {
        std::uint32_t value = 0;
        for (int i = 0; i < byteCount; ++i) {
            const std::size_t place = at + static_cast<std::size_t>(bigEndian ? i : byteCount - 1 - i);
            value = value << 8 | (place < size ? bytes[place] : 0U);
        }
        return value;
    }

    // A fraction of two 32-bit numbers, rounded; 0 for one that is none.
    [[nodiscard]] std::uint32_t Fraction(std::size_t at) const {
        const double value = std::round(static_cast<double>(Number(at, 4)) / Number(at + 4, 4));
        return value >= 1 && value <= 1000000 ? static_cast<std::uint32_t>(value) : 0;
    }
};

constexpr std::size_t kPrefixBytes = 6;
constexpr std::size_t kEntryBytes = 12;
enum : std::uint32_t { kOrientation = 274, kXResolution = 282, kYResolution = 283, kResolutionUnit = 296 };

}  // namespace

ExifTags ReadExif(const std::uint8_t* bytes, std::size_t size) {
    ExifTags tags;
    if (size >= kPrefixBytes && std::memcmp(bytes, "Exif\0\0", kPrefixBytes) == 0) {
        bytes += kPrefixBytes;
        size -= kPrefixBytes;
    }
    if (size < 8 || (std::memcmp(bytes, "II", 2) != 0 && std::memcmp(bytes, "MM", 2) != 0)) return tags;
    const Tiff tiff{bytes, size, bytes[0] == 'M'};
    const std::size_t directory = tiff.Number(4, 4);
    if (directory >= tiff.size) return tags;
    std::uint32_t unit = 2;
    const std::uint32_t count = tiff.Number(directory, 2);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t entry = directory + 2 + i * kEntryBytes;
        if (entry + kEntryBytes > tiff.size) break;
        switch (tiff.Number(entry, 2)) {
            case kOrientation: {
                const std::uint32_t value = tiff.Number(entry + 8, 2);
                if (value >= 1 && value <= 8) tags.orientation = static_cast<int>(value);
                break;
            }
            case kXResolution:
                tags.resolution.x = tiff.Fraction(tiff.Number(entry + 8, 4));
                break;
            case kYResolution:
                tags.resolution.y = tiff.Fraction(tiff.Number(entry + 8, 4));
                break;
            case kResolutionUnit:
                unit = tiff.Number(entry + 8, 2);
                break;
            default:
                break;
        }
    }
    if (tags.resolution.x != 0 && tags.resolution.y != 0) {
        if (unit == 1 && tags.resolution.x != tags.resolution.y) tags.resolution.unit = Resolution::Unit::Aspect;
        if (unit == 2) tags.resolution.unit = Resolution::Unit::Inch;
        if (unit == 3) tags.resolution.unit = Resolution::Unit::Centimetre;
    }
    return tags;
}

std::vector<std::uint8_t> MakeExif(const Resolution& resolution) {
    const Resolution::Unit unit =
        resolution.unit == Resolution::Unit::Centimetre ? Resolution::Unit::Centimetre : Resolution::Unit::Inch;
    const Resolution fit = InUnit(resolution, unit);
    if (fit.unit == Resolution::Unit::Unknown || fit.x < 1 || fit.y < 1) return {};
    std::vector<std::uint8_t> bytes = {'I', 'I', 42, 0};
    const auto number = [&bytes](std::uint32_t value, int byteCount) {
        for (int i = 0; i < byteCount; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    };
    const auto entry = [&number](std::uint32_t tag, std::uint32_t type, std::uint32_t value) {
        number(tag, 2);
        number(type, 2);
        number(1, 4);
        number(value, 4);
    };
    constexpr std::uint32_t kShort = 3, kFraction = 5;
    constexpr std::uint32_t kEntries = 3, kFractions = 8 + 2 + kEntries * kEntryBytes + 4;
    number(8, 4);
    number(kEntries, 2);
    entry(kXResolution, kFraction, kFractions);
    entry(kYResolution, kFraction, kFractions + 8);
    entry(kResolutionUnit, kShort,
          fit.unit == Resolution::Unit::Aspect ? 1U
          : fit.unit == Resolution::Unit::Inch ? 2U
                                               : 3U);
    number(0, 4);  // no further directory
    for (const std::uint32_t count : {fit.x, 1U, fit.y, 1U}) number(count, 4);
    return bytes;
}
