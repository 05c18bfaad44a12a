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
    if (size < kPrefixBytes + 8 || std::memcmp(bytes, "Exif\0\0", kPrefixBytes) != 0) return tags;
    const Tiff tiff{bytes + kPrefixBytes, size - kPrefixBytes, bytes[kPrefixBytes] == 'M'};
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
        if (unit == 2) tags.resolution.unit = Resolution::Unit::Inch;
        if (unit == 3) tags.resolution.unit = Resolution::Unit::Centimetre;
    }
    return tags;
}
