#include "exchange/ExportRows.h"

#include <algorithm>
#include <iterator>

#include "exchange/PictureEditor.h"
#include "kernels/KernelTable.h"

namespace zor {

namespace {

PicturePixel PixelOf(int pixelType) {
    switch (pixelType) {
        case PixelTypeRGB24:
            return PicturePixel::rgb24;
        case PixelTypeARGB32:
            return PicturePixel::argb32;
        default:
            return PicturePixel::native32;
    }
}

// Clips move the offsets by whole pixels, so the word need not be the pixel's own.
bool LieInOneWord(const ChannelSet& channels, std::ptrdiff_t pixelSize) {
    return pixelSize == kPictureWord && channels.lowest() >= 0 &&
           WordOf(channels.lowest()) == WordOf(channels.highest());
}

// A row that lies partly outside the storage goes by way of a buffer with zeros in the places of what is missing.
void ExportGathered(const ExportPlan& plan, const RowSpan& row, std::ptrdiff_t x, std::ptrdiff_t width,
                    std::uint8_t* dst) {
    constexpr std::ptrdiff_t kAtOnce = 1024;
    constexpr std::ptrdiff_t kPackedOffsets[] = {0, 1, 2, 3};
    std::uint8_t packed[kAtOnce * std::size(kPackedOffsets)];
    for (std::ptrdiff_t done = 0, count; done < width; done += count) {
        count = std::min(kAtOnce, width - done);
        GatherPixels(row, static_cast<int>(plan.srcSize), plan.src, x + done, count, packed);
        plan.plain(packed, plan.src.count, kPackedOffsets, count, dst + done * plan.pictureSize);
    }
}

}  // namespace

ExportPlan MakeExportPlan(ExportColours colours, const ChannelSet& src, int srcSize, int pixelType) {
    const ExportKernels& kernels = Kernels().exports;
    const PicturePixel pixel = PixelOf(pixelType);
    const ExportRowFunction plain = kernels.pixels[static_cast<int>(colours)][static_cast<int>(pixel)];
    const bool isWord = pixel != PicturePixel::rgb24;
    ExportPlan plan = {plain, plain, src.lowest(), src.highest() + 1, srcSize, isWord ? kPictureWord : 3, src};
    if (colours == ExportColours::rgb && isWord && LieInOneWord(src, srcSize)) {
        plan.quick = pixel == PicturePixel::native32 ? kernels.nativeWords : kernels.argbWords;
        plan.first = WordOf(src.lowest());
        plan.last = plan.first + kPictureWord;
    }
    return plan;
}

void ExportRow(const ExportPlan& plan, const RowSpan& row, std::ptrdiff_t x, std::ptrdiff_t width, std::uint8_t* dst) {
    if (!row || width < 1) return;
    const std::ptrdiff_t start = x * plan.srcSize;
    if (row.Covers(start + plan.first, start + (width - 1) * plan.srcSize + plan.last)) {
        plan.quick(row.data + start, plan.srcSize, plan.src.offset, width, dst);
    } else {
        ExportGathered(plan, row, x, width, dst);
    }
}

}  // namespace zor
