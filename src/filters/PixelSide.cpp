#include "filters/PixelSide.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>

namespace zor {

PixelSide SideOf(ImageClassData* record, const ChannelList& channels) {
    return {record, record->PixelSize, OffsetsOf(record, channels)};
}

static PixelSides SidesWith(const ChannelList& channels, ImageClassData* src, ImageClassData* dst) {
    return {SideOf(src, channels), SideOf(dst, channels)};
}

PixelSides SidesOf(ImageClassData* src, ImageClassData* dst) {
    return SidesWith(ChannelListOf(src, true), src, dst);
}

PixelSides ColourSidesOf(ImageClassData* src, ImageClassData* dst) {
    return SidesWith(ChannelListOf(src, false), src, dst);
}

bool ShareWholePixels(const PixelSides& sides) {
    return FillPixel(sides.src.channels, sides.src.pixelSize) && sides.dst.pixelSize == sides.src.pixelSize &&
           SameOffsets(sides.src.channels, sides.dst.channels);
}

bool PixelsAreApart(const PixelSide& side) {
    return side.channels.highest() - side.channels.lowest() < side.pixelSize;
}

bool RowsAreApart(const PixelSide& side, std::int64_t width) {
    if (width < 1) return true;
    return side.channels.lowest() >= 0 && (width - 1) * side.pixelSize + side.channels.highest() <
                                              std::abs(static_cast<std::int64_t>(side.record->RowSize));
}

bool RowsKeepTheirSamples(const PixelSide& side, std::int64_t width) {
    return AreDistinct(side.channels) && PixelsAreApart(side) && RowsAreApart(side, width);
}

RowSpan OwnBytes(const RowSpan& row, const ImageClassData* record) {
    return {row.data, std::max<std::ptrdiff_t>(row.begin, 0), std::min<std::ptrdiff_t>(row.end, record->RowSize)};
}

bool Covers(const RowSpan& row, const PixelSide& side, std::ptrdiff_t first, std::ptrdiff_t width) {
    if (width < 1) return true;
    return row && row.Covers(first * side.pixelSize + side.channels.lowest(),
                             (first + width - 1) * side.pixelSize + side.channels.highest() + 1);
}

// --- rows as packed samples -----------------------------------------------------------------------------------------

void OrderByBytes(PixelSides* sides) {
    const ChannelSet src = sides->src.channels, dst = sides->dst.channels;
    if (!AreDistinct(dst)) return;
    int order[ChannelSet::kMax];
    std::iota(order, order + src.count, 0);
    std::stable_sort(order, order + src.count, [&](int a, int b) { return src.offset[a] < src.offset[b]; });
    for (int c = 0; c < src.count; ++c) {
        sides->src.channels.offset[c] = src.offset[order[c]];
        sides->dst.channels.offset[c] = dst.offset[order[c]];
    }
}

// True if the samples of these pixels, one pixel after the other, are a plain run of bytes.
static bool LiePacked(const RowSpan& row, const PixelSide& side, std::ptrdiff_t width) {
    if (side.pixelSize != side.channels.count) return false;
    for (int c = 1; c < side.channels.count; ++c) {
        if (side.channels.offset[c] != side.channels.offset[0] + c) return false;
    }
    return width > 0 && Covers(row, side, 0, width);
}

void CopyPackedSamples(const RowSpan& row, const PixelSide& side, std::ptrdiff_t width, std::uint8_t* copy) {
    if (LiePacked(row, side, width)) {
        std::memcpy(copy, row.data + side.channels.offset[0], static_cast<std::size_t>(width * side.pixelSize));
    } else {
        GatherPixels(row, static_cast<int>(side.pixelSize), side.channels, 0, width, copy);
    }
}

const std::uint8_t* PackedSamples(const RowSpan& row, const PixelSide& side, std::ptrdiff_t width,
                                  std::uint8_t* scratch) {
    if (LiePacked(row, side, width)) return row.data + side.channels.offset[0];
    GatherPixels(row, static_cast<int>(side.pixelSize), side.channels, 0, width, scratch);
    return scratch;
}

std::uint8_t* BeginPacked(const RowSpan& row, const PixelSide& side, std::ptrdiff_t width, std::uint8_t* scratch) {
    return LiePacked(row, side, width) ? row.data + side.channels.offset[0] : scratch;
}

void EndPacked(const RowSpan& row, const PixelSide& side, std::ptrdiff_t width, const std::uint8_t* samples) {
    if (LiePacked(row, side, width)) return;
    ScatterPixels(row, static_cast<int>(side.pixelSize), side.channels, 0, width, samples);
}

}  // namespace zor
