#include "filters/Unsharp.h"

#include <algorithm>
#include <cstdlib>

#include "filters/TableWalk.h"
#include "filters/Truncate.h"
#include "kernels/KernelTable.h"

namespace zor {

namespace {

PairTable UnsharpTable(double amount, int threshold) {
    const double factor = amount * 4.0 + 1.0;
    PairTable table;
    for (int a = 0; a < 256; ++a) {
        for (int b = 0; b < 256; ++b) {
            const int sharp = std::clamp(TruncateToInt((a - b) * factor + b), 0, 255);
            table.entry[a][b] = static_cast<std::uint8_t>(std::abs(a - b) >= threshold ? sharp : a);
        }
    }
    return table;
}

// Pixel by pixel and byte by byte, each read as the bytes before have left it: this order shows where the two images
// share pixels.
void CombineInOrder(const RunSet& runs, const PairTable& table) {
    const PixelRun dst = runs.run[0], src = runs.run[1];
    for (std::ptrdiff_t i = 0; i < runs.count; ++i) {
        for (int c = 0; c < dst.channels.count; ++c) {
            std::uint8_t* const byte = dst.pixels + i * dst.step + dst.channels.offset[c];
            *byte = table.entry[*byte][src.pixels[i * src.step + src.channels.offset[c]]];
            EndOfPixel();
        }
    }
}

// The image is the destination of the walk.
void Sharpen(ImageClassData* image, ImageClassData* orig, const ChannelList& channels, const PairTable& table) {
    const PixelSides sides{SideOf(orig, channels), SideOf(image, channels)};
    const auto combine = ByCount(Kernels().tables.combine, sides.count());
    WalkSides(sides, WholeImage(image), [&](const RunSet& runs) {
        if (runs.sharing == Sharing::mixed) return CombineInOrder(runs, table);
        combine(runs.run[0], runs.run[1], runs.count, table);
    });
}

}  // namespace

// The CMYK family, with and without alpha. Five bytes of each pixel are treated, the last at AlphaOffset: without
// alpha that is the byte at offset 0, which goes through a second time with what the first time left in it.
static void unsharpFilterCMYKA(ImageClassData* image, ImageClassData* origpixels, double amount, int threshold) {
    Sharpen(image, origpixels, WithAlphaLast(ColoursOf(PixelFamily::cmyk)), UnsharpTable(amount, threshold));
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
        Sharpen(image, orig, ChannelListOf(image, true), UnsharpTable(amount, threshold));
    }
    return true;
}

}  // namespace zor
