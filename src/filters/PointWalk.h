#pragma once
// Walks for filters that make each pixel from itself and its place alone.

#include <algorithm>

#include "filters/ChannelPair.h"

// A rectangle that lies inside the source, in pixels.
struct PixelArea {
    int x;
    int y;
    int width;
    int height;
};

inline PixelArea WholeImage(const ImageClassData* record) {
    return {0, 0, record->Width, record->Height};
}

// The walk that defines the result: rows from the top, the destination's fetched before the source's, pixels from
// the left, a pixel read whole before it is stored. map(x, y, samples) changes the samples in place.
template <int kCount, class MapPixel>
void WalkPixels_Plain(ImageClassData* source, ImageClassData* dest, const PixelArea& area, const ChannelPair& channels,
                      MapPixel map) {
    for (int y = area.y; y < area.y + area.height; ++y) {
        const RowSpan dst = GetRowSpan(dest, y);
        const RowSpan src = GetRowSpan(source, y);
        if (!dst || !src) continue;
        for (std::ptrdiff_t x = area.x; x < static_cast<std::ptrdiff_t>(area.x) + area.width; ++x) {
            std::uint8_t samples[kCount];
            LoadPixel<kCount>(src, source->PixelSize, channels.from, x, samples);
            map(x, y, samples);
            StorePixel<kCount>(dst, dest->PixelSize, channels.to, x, samples);
        }
    }
}

// Pixels side by side whose channel bytes may all be touched. src and dst may be the same pixels.
struct PixelRun {
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
void WalkRuns(ImageClassData* source, ImageClassData* dest, const PixelArea& area, const ChannelPair& channels,
              MapRun map) {
    constexpr std::ptrdiff_t kChunk = 512;
    constexpr ChannelSet kPacked{kCount, {0, 1, 2, 3, 4}};
    std::uint8_t packed[kChunk * kCount];
    const std::ptrdiff_t end = static_cast<std::ptrdiff_t>(area.x) + area.width;
    for (int y = area.y; y < area.y + area.height; ++y) {
        const RowSpan dst = GetRowSpan(dest, y);
        const RowSpan src = GetRowSpan(source, y);
        if (!dst || !src) continue;
        if (CoversPixels(src, channels.from, source->PixelSize, area.x, area.width) &&
            CoversPixels(dst, channels.to, dest->PixelSize, area.x, area.width)) {
            map(PixelRun{area.x, y, area.width, src.data + static_cast<std::ptrdiff_t>(area.x) * source->PixelSize,
                         source->PixelSize, &channels.from,
                         dst.data + static_cast<std::ptrdiff_t>(area.x) * dest->PixelSize, dest->PixelSize,
                         &channels.to});
            continue;
        }
        for (std::ptrdiff_t x = area.x; x < end; x += kChunk) {
            const std::ptrdiff_t width = std::min(kChunk, end - x);
            GatherPixels(src, source->PixelSize, channels.from, x, width, packed);
            map(PixelRun{x, y, width, packed, kCount, &kPacked, packed, kCount, &kPacked});
            ScatterPixels(dst, dest->PixelSize, channels.to, x, width, packed);
        }
    }
}
