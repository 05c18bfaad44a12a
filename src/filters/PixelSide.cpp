#include "filters/PixelSide.h"

#include <algorithm>
#include <numeric>

PixelSides SidesOf(ImageClassData* source, ImageClassData* dest) {
    const ChannelPair channels = PairChannels(source, dest, true);
    return {{source, source->PixelSize, channels.from}, {dest, dest->PixelSize, channels.to}};
}

bool ShareWholePixels(const PixelSides& sides) {
    const ChannelSet &from = sides.source.channels, &to = sides.dest.channels;
    return FillPixel(from, sides.source.pixelSize) && sides.dest.pixelSize == sides.source.pixelSize &&
           SameOffsets(from, to);
}

bool PixelsAreApart(const PixelSide& side) {
    return side.channels.highest() - side.channels.lowest() < side.pixelSize;
}

bool RowsAreApart(const PixelSide& side, std::int64_t width) {
    if (width < 1) return true;
    return side.channels.lowest() >= 0 && (width - 1) * side.pixelSize + side.channels.highest() <
                                              std::abs(static_cast<std::int64_t>(side.record->RowSize));
}

// --- rows as packed samples -----------------------------------------------------------------------------------------

void OrderByBytes(PixelSides* sides) {
    const ChannelSet source = sides->source.channels, dest = sides->dest.channels;
    if (!AreDistinct(dest)) return;
    int order[ChannelSet::kMax];
    std::iota(order, order + source.count, 0);
    std::stable_sort(order, order + source.count, [&](int a, int b) { return source.offset[a] < source.offset[b]; });
    for (int c = 0; c < source.count; ++c) {
        sides->source.channels.offset[c] = source.offset[order[c]];
        sides->dest.channels.offset[c] = dest.offset[order[c]];
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
