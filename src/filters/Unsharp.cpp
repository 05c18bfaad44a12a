#include "filters/Unsharp.h"

#include <algorithm>
#include <cstdlib>

#include "filters/PixelSide.h"
#include "filters/Truncate.h"

namespace {

struct UnsharpTable {
    UnsharpTable(double amount, int threshold) {
        const double factor = amount * 4.0 + 1.0;
        for (int a = 0; a < 256; ++a) {
            for (int b = 0; b < 256; ++b) {
                const int sharp = std::clamp(TruncateToInt((a - b) * factor + b), 0, 255);
                entry[a][b] = static_cast<std::uint8_t>(std::abs(a - b) >= threshold ? sharp : a);
            }
        }
    }
    std::uint8_t entry[256][256];  // by the image's byte, then by that of the second image
};

// Pixel by pixel and byte by byte, each read as the bytes before have left it: this order shows where the two images
// share pixels, and where two channels do.
template <int kCount>
void Sharpen_Plain(const RowSpan& row, const PixelSide& image, const RowSpan& other, const PixelSide& orig,
                   std::ptrdiff_t width, const UnsharpTable& table) {
    for (std::ptrdiff_t x = 0; x < width; ++x) {
        for (int c = 0; c < kCount; ++c) {
            const std::ptrdiff_t at = x * image.pixelSize + image.channels.offset[c];
            const std::uint8_t b = other.Load(x * orig.pixelSize + orig.channels.offset[c]);
            row.Store(at, table.entry[row.Load(at)][b]);
        }
    }
}

// The same for rows that lie inside the storage.
template <int kCount>
void Sharpen(std::uint8_t* row, const PixelSide& image, const std::uint8_t* other, const PixelSide& orig,
             std::ptrdiff_t width, const UnsharpTable& table) {
    std::ptrdiff_t offset[kCount], origOffset[kCount];
    for (int c = 0; c < kCount; ++c) {
        offset[c] = image.channels.offset[c];
        origOffset[c] = orig.channels.offset[c];
    }
    const std::ptrdiff_t step = image.pixelSize, origStep = orig.pixelSize;
    for (std::ptrdiff_t x = 0; x < width; ++x, row += step, other += origStep) {
        for (int c = 0; c < kCount; ++c) row[offset[c]] = table.entry[row[offset[c]]][other[origOffset[c]]];
    }
}

void SharpenRows(const PixelSide& image, const PixelSide& orig, const UnsharpTable& table) {
    const std::ptrdiff_t width = image.record->Width;
    const int height = image.record->Height;
    WithChannelCount(image.channels.count, [&](auto kCount) {
        for (int y = 0; y < height; ++y) {
            const RowSpan row = GetRowSpan(image.record, y);
            const RowSpan other = GetRowSpan(orig.record, y);
            if (!row || !other) continue;
            if (Covers(row, image, 0, width) && Covers(other, orig, 0, width)) {
                Sharpen<kCount>(row.data, image, other.data, orig, width, table);
            } else {
                Sharpen_Plain<kCount>(row, image, other, orig, width, table);
            }
        }
    });
}

PixelSide FiveChannels(ImageClassData* record) {
    return {record, record->PixelSize, OffsetsOf(record, WithAlphaLast(ColoursOf(PixelFamily::cmyk)))};
}

}  // namespace

void unsharpFilterCMYKA(ImageClassData* image, ImageClassData* origpixels, double amount, int threshold) {
    SharpenRows(FiveChannels(image), FiveChannels(origpixels), UnsharpTable(amount, threshold));
}

REALboolean unsharpFilter(REALobject object, REALobject origpixels, double amount, int threshold) {
    if (!origpixels) return false;
    ImageClassData* const image = ImageDataOf(object);
    ImageClassData* const orig = ImageDataOf(origpixels);
    if (!image->Valid || !orig->Valid) return false;
    if (image->Width != orig->Width || image->Height != orig->Height || image->ImageFormat != orig->ImageFormat) {
        return false;
    }
    if (!IsUsable(image)) return false;
    YieldIfAsked(image);
    if (!IsUsable(orig)) return false;
    YieldIfAsked(orig);
    if (image->IsCMYK && !image->IsGray && !image->IsRGB) {
        unsharpFilterCMYKA(image, orig, amount, threshold);
    } else {
        const PixelSides sides = SidesOf(image, orig);
        SharpenRows(sides.source, sides.dest, UnsharpTable(amount, threshold));
    }
    return true;
}
