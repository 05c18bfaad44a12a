#pragma once
// Walks for filters that make each pixel from itself and its place alone.

#include <algorithm>

#include "core/Rectangles.h"
#include "filters/PixelSide.h"

inline PixelRect WholeImage(const ImageClassData* record) {
    return {0, 0, record->Width, record->Height};
}

// The sides of a filter that leaves alpha alone.
PixelSides ColourSidesOf(ImageClassData* source, ImageClassData* dest);

inline ChannelPair ChannelsOf(const PixelSides& sides) {
    return {sides.source.channels, sides.dest.channels};
}

// The walk that defines the result: rows from the top, the destination's fetched before the source's, pixels from
// the left, a pixel read whole before it is stored. map(x, y, samples) changes the samples in place.
template <int kCount, class MapPixel>
void WalkPixels_Plain(const PixelSides& sides, const PixelRect& area, MapPixel map) {
    const std::ptrdiff_t left = static_cast<std::ptrdiff_t>(area.x), width = static_cast<std::ptrdiff_t>(area.width);
    const int bottom = static_cast<int>(area.y + area.height);
    for (int y = static_cast<int>(area.y); y < bottom; ++y) {
        const RowSpan dst = GetRowSpan(sides.dest.record, y);
        const RowSpan src = GetRowSpan(sides.source.record, y);
        if (!dst || !src) continue;
        for (std::ptrdiff_t x = left; x < left + width; ++x) {
            std::uint8_t samples[kCount];
            Load<kCount>(src, sides.source, x, samples);
            map(x, y, samples);
            Store<kCount>(dst, sides.dest, x, samples);
        }
    }
}

// Pixels side by side whose channel bytes may all be touched. src and dst may be the same pixels.
struct PointRun {
    std::ptrdiff_t x;  // column of the first pixel
    int y;
    std::ptrdiff_t width;  // pixels
    const std::uint8_t* src;
    std::ptrdiff_t srcStep;  // bytes from one pixel to the next
    const ChannelSet* from;
    std::uint8_t* dst;
    std::ptrdiff_t dstStep;
    const ChannelSet* to;
};

// The same pixels in the same order, handed on as runs: map(run). Only where the order of pixels is hidden. Rows of
// which some bytes lie outside the storage go through a packed copy.
template <int kCount, class MapRun>
void WalkRuns(const PixelSides& sides, const PixelRect& area, MapRun map) {
    constexpr std::ptrdiff_t kChunk = 512;
    constexpr ChannelSet kPacked{kCount, {0, 1, 2, 3, 4}};
    std::uint8_t packed[kChunk * kCount];
    const auto& [from, to] = sides;
    const std::ptrdiff_t left = static_cast<std::ptrdiff_t>(area.x), width = static_cast<std::ptrdiff_t>(area.width);
    const int bottom = static_cast<int>(area.y + area.height);
    for (int y = static_cast<int>(area.y); y < bottom; ++y) {
        const RowSpan dst = GetRowSpan(to.record, y);
        const RowSpan src = GetRowSpan(from.record, y);
        if (!dst || !src) continue;
        if (Covers(src, from, left, width) && Covers(dst, to, left, width)) {
            map(PointRun{left, y, width, src.data + left * from.pixelSize, from.pixelSize, &from.channels,
                         dst.data + left * to.pixelSize, to.pixelSize, &to.channels});
            continue;
        }
        for (std::ptrdiff_t x = left; x < left + width; x += kChunk) {
            const std::ptrdiff_t part = std::min(kChunk, left + width - x);
            GatherPixels(src, static_cast<int>(from.pixelSize), from.channels, x, part, packed);
            map(PointRun{x, y, part, packed, kCount, &kPacked, packed, kCount, &kPacked});
            ScatterPixels(dst, static_cast<int>(to.pixelSize), to.channels, x, part, packed);
        }
    }
}
