#include "filters/Unsharp.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <numeric>

#include "filters/TableWalk.h"
#include "filters/Truncate.h"
#include "kernels/KernelTable.h"

namespace zor {

namespace {

struct Sharpening {
    double factor;
    int threshold;
    PairTable table;
};

Sharpening SharpeningOf(double amount, int threshold) {
    Sharpening made{amount * 4.0 + 1.0, threshold, {}};
    for (int a = 0; a < 256; ++a) {
        for (int b = 0; b < 256; ++b) {
            const int sharp = std::clamp(TruncateToInt((a - b) * made.factor + b), 0, 255);
            made.table.entry[a][b] = static_cast<std::uint8_t>(std::abs(a - b) >= threshold ? sharp : a);
        }
    }
    return made;
}

// The same in integers, where those give every entry of the table.
bool FindRule(const Sharpening& sharpening, SharpenRule* rule) {
    if (!MakeSharpenRule(sharpening.factor, sharpening.threshold, rule)) return false;
    std::uint8_t bytes[256];
    std::iota(std::begin(bytes), std::end(bytes), std::uint8_t{0});
    for (int a = 0; a < 256; ++a) {
        std::uint8_t sharp[256];
        std::memset(sharp, a, sizeof sharp);
        Kernels().blur.sharpen(bytes, 256, *rule, sharp);
        if (std::memcmp(sharp, sharpening.table.entry[a], sizeof sharp) != 0) return false;
    }
    return true;
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
void Sharpen(ImageClassData* image, ImageClassData* orig, const ChannelList& channels, const Sharpening& sharpening) {
    const PixelSides sides{SideOf(orig, channels), SideOf(image, channels)};
    const auto combine = ByCount(Kernels().tables.combine, sides.count());
    SharpenRule rule;
    const bool byRule = ShareWholePixels(sides) && FindRule(sharpening, &rule);
    WalkSides(sides, WholeImage(image), [&](const RunSet& runs) {
        const PixelRun &dst = runs.run[0], &src = runs.run[1];
        if (runs.sharing == Sharing::mixed) return CombineInOrder(runs, sharpening.table);
        if (!byRule) return combine(dst, src, runs.count, sharpening.table);
        const std::ptrdiff_t first = dst.channels.lowest();
        Kernels().blur.sharpen(src.pixels + first, runs.count * dst.step, rule, dst.pixels + first);
    });
}

}  // namespace

// The CMYK family, with and without alpha. Five bytes of each pixel are treated, the last at AlphaOffset: without
// alpha that is the byte at offset 0, which goes through a second time with what the first time left in it.
static void unsharpFilterCMYKA(ImageClassData* image, ImageClassData* origpixels, double amount, int threshold) {
    Sharpen(image, origpixels, WithAlphaLast(ColoursOf(PixelFamily::cmyk)), SharpeningOf(amount, threshold));
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
        Sharpen(image, orig, ChannelListOf(image, true), SharpeningOf(amount, threshold));
    }
    return true;
}

}  // namespace zor
